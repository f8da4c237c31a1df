#include "lmkutils/l10n/internal/text_file_buffer.h"

#include <cstring>
#include <ios>

namespace du::internal {
namespace {

constexpr std::size_t kBlockSize = 65536;

// Takes the carriage returns before line feeds out of the text and returns how many bytes are left.
std::size_t WithoutReturns(char* text, std::size_t size) noexcept {
  char* const end = text + size;
  char* from = static_cast<char*>(std::memchr(text, '\r', size));
  if (from == nullptr) return size;
  char* to = from;
  while (from != end) {
    if (*from == '\r' && from + 1 != end && from[1] == '\n') ++from;
    char* const next =
        static_cast<char*>(std::memchr(from + 1, '\r', static_cast<std::size_t>(end - from - 1)));
    const auto count = static_cast<std::size_t>((next != nullptr ? next : end) - from);
    std::memmove(to, from, count);
    to += count;
    from += count;
  }
  return static_cast<std::size_t>(to - text);
}

}  // namespace

bool TextFileBuffer::Open(const std::string& path) {
  block_.resize(kBlockSize);
  heldReturn_ = false;
  setg(nullptr, nullptr, nullptr);
  return file_.OpenForReading(path);
}

TextFileBuffer::int_type TextFileBuffer::underflow() {
  const std::size_t size = ReadBlock();
  setg(block_.data(), block_.data(), block_.data() + size);
  return size != 0 ? traits_type::to_int_type(block_[0]) : traits_type::eof();
}

// A carriage return at a block's end waits for the next block, which tells what follows it.
std::size_t TextFileBuffer::ReadBlock() {
  std::size_t size = 0;
  if (heldReturn_) block_[size++] = '\r';
  std::size_t got = 0;
  // The stream that asks takes an exception for bad.
  if (file_.Read(block_.data() + size, block_.size() - size, &got) != os::kSuccess) {
    throw std::ios_base::failure("cannot read");
  }
  const bool atEnd = got < block_.size() - size;
  size += got;
  heldReturn_ = !atEnd && block_[size - 1] == '\r';
  return WithoutReturns(block_.data(), heldReturn_ ? size - 1 : size);
}

}  // namespace du::internal
