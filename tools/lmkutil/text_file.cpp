#include "tools/lmkutil/text_file.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace lmkutil {

std::optional<std::string> ReadFile(const std::string& path) {
  const std::filesystem::path file(std::u8string(path.begin(), path.end()));
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  std::string bytes;
  for (std::array<char, 65536> block; in; bytes.append(block.data(), static_cast<std::size_t>(in.gcount()))) {
    in.read(block.data(), block.size());
  }
  return in.is_open() && in.eof() && !in.bad() ? std::optional(bytes) : std::nullopt;
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
