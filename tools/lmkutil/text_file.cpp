#include "tools/lmkutil/text_file.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tools/lmkutil/replacement.h"

#include "lmkutils/files/file_writer.h"

namespace lmkutil {
namespace {

std::filesystem::path Native(const std::string& path) {
  return {std::u8string(path.begin(), path.end())};
}

bool WriteBytes(const std::string& path, std::string_view bytes) {
  const du::SmartPtr<du::FileWriter> writer = du::FileWriter::Construct();
  if (!writer->Open(path)) return false;
  constexpr std::size_t kBlock = 1 << 20;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kBlock))) {
    const auto count = static_cast<unsigned>(std::min(bytes.size(), kBlock));
    if (writer->Write(bytes.data(), count) != count) return false;
  }
  return writer->Close();
}

}  // namespace

std::optional<std::string> ReadFile(const std::string& path) {
  const std::filesystem::path file = Native(path);
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  std::string bytes;
  for (std::array<char, 65536> block; in; bytes.append(block.data(), static_cast<std::size_t>(in.gcount()))) {
    in.read(block.data(), block.size());
  }
  return in.is_open() && in.eof() && !in.bad() ? std::optional(bytes) : std::nullopt;
}

bool AreOneFile(const std::string& path, const std::string& other) {
  std::error_code error;
  return std::filesystem::equivalent(Native(path), Native(other), error);
}

bool ReplaceFile(const std::string& path, std::string_view bytes) {
  Replacement file(path);
  return file.IsPossible() && WriteBytes(file.File(), bytes) && file.Finish();
}

std::string WithoutCarriageReturns(std::string bytes) {
  std::string::iterator to = bytes.begin();
  for (auto from = bytes.begin(); from != bytes.end(); ++from) {
    const bool endsLine = *from == '\r' && from + 1 != bytes.end() && from[1] == '\n';
    if (!endsLine) *to++ = *from;
  }
  bytes.erase(to, bytes.end());
  return bytes;
}

bool Write(std::FILE* stream, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
}

}  // namespace lmkutil
