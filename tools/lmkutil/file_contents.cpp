#include "tools/lmkutil/file_contents.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "tools/lmkutil/catalogue.h"
#include <zlib.h>

#include "lmkutils/platform/command_line.h"

namespace lmkutil {
namespace {

constexpr unsigned kBlock = 1U << 16;
constexpr std::size_t kStart = 6;

bool IsAscii(std::string_view bytes) {
  std::uint64_t all = 0;
  for (; bytes.size() >= sizeof(all); bytes.remove_prefix(sizeof(all))) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data(), sizeof(word));
    all |= word;
  }
  for (const char c : bytes) all |= static_cast<unsigned char>(c);
  return (all & 0x8080808080808080U) == 0;
}

}  // namespace

FileContents::FileContents() : block_(kBlock) {}

bool FileContents::Read(const std::string& path, std::uint64_t size) {
  start_.clear();
  size_ = 0;
  crc32_ = 0;
  isAscii_ = true;
  if (!file_.Open(path, 0, kBlock)) return false;
  const std::uint64_t end = size == 0 ? std::numeric_limits<std::uint64_t>::max() : size;
  unsigned part = 0;
  unsigned count = 0;
  do {
    part = static_cast<unsigned>(std::min<std::uint64_t>(kBlock, end - size_));
    count = file_.Read(block_.data(), part);
    Take({block_.data(), count});
  } while (count == part && size_ < end && !dp::CommandLine::IsInterrupted());
  const bool isGood = !file_.IsError();
  file_.Close();
  return isGood;
}

void FileContents::Take(std::string_view bytes) {
  if (start_.size() < kStart) start_ += bytes.substr(0, kStart - start_.size());
  size_ += bytes.size();
  crc32_ = static_cast<std::uint32_t>(
      crc32(crc32_, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
  isAscii_ = isAscii_ && IsAscii(bytes);
}

const char* FileContents::Kind() const {
  if (start_ == "LM-LMS") return kind::kStructure;
  if (start_.starts_with("\x05\x06\x13") || start_.starts_with("\xD0\xCF\x11")) return kind::kBinary;
  return isAscii_ ? kind::kText : kind::kBinary;
}

}  // namespace lmkutil
