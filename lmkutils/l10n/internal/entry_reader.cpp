#include "lmkutils/l10n/internal/entry_reader.h"

#include <algorithm>
#include <cstring>

namespace du::internal {
namespace {

constexpr std::size_t kBlockSize = 65536;
constexpr char kByteOrderMarkStart = '\xEF';
constexpr std::size_t kByteOrderMarkSize = 3;

// White space as the "C" locale has it.
bool IsBlank(char c) noexcept {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

char* FindByte(char* begin, char* end, char byte) noexcept {
  return begin != end ? static_cast<char*>(std::memchr(begin, byte, static_cast<std::size_t>(end - begin)))
                      : nullptr;
}

}  // namespace

EntryReader::EntryReader(std::istream& in) : in_(in), buffer_(kBlockSize) {
  SkipByteOrderMark();
}

bool EntryReader::Next(Line& line) {
  if (syntaxError_ || !SkipBlanksAndComments()) return false;
  return Split(FindLineEnd(), line);
}

// Reads more behind what is there; false when nothing came.
bool EntryReader::Fill() {
  if (exhausted_) return false;
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
  end_ -= begin_;
  begin_ = 0;
  if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
  const std::size_t room = buffer_.size() - end_;
  in_.read(buffer_.data() + end_, static_cast<std::streamsize>(room));
  const auto got = static_cast<std::size_t>(in_.gcount());
  hasNul_ = hasNul_ || (got != 0 && std::memchr(buffer_.data() + end_, '\0', got) != nullptr);
  end_ += got;
  exhausted_ = got < room;
  atEnd_ = exhausted_ && in_.eof();
  return got != 0;
}

void EntryReader::Refuse() {
  syntaxError_ = true;
  in_.setstate(std::ios_base::failbit);
}

// The two bytes behind the first one are not looked at.
void EntryReader::SkipByteOrderMark() {
  Fill();
  if (begin_ == end_ || buffer_[begin_] != kByteOrderMarkStart) return;
  begin_ = std::min(begin_ + kByteOrderMarkSize, end_);
}

bool EntryReader::SkipBlanksAndComments() {
  for (bool inComment = false;;) {
    char* const end = buffer_.data() + end_;
    char* at = buffer_.data() + begin_;
    while (at != end && (inComment || IsBlank(*at) || *at == '#')) {
      inComment = inComment || *at == '#';
      char* const lineFeed = inComment ? FindByte(at, end, '\n') : at;
      at = lineFeed != nullptr ? lineFeed + 1 : end;
      if (lineFeed != nullptr) inComment = false;
    }
    begin_ = static_cast<std::size_t>(at - buffer_.data());
    if (at != end) return true;
    if (!Fill()) return false;
  }
}

// The line feed that ends the line at begin_; null when the input ends before it.
char* EntryReader::FindLineEnd() {
  std::size_t seen = 0;
  for (;;) {
    char* const begin = buffer_.data() + begin_;
    char* const end = buffer_.data() + end_;
    if (char* const lineFeed = FindByte(begin + seen, end, '\n')) return lineFeed;
    seen = end_ - begin_;
    if (!Fill()) return nullptr;
  }
}

bool EntryReader::Split(char* lineEnd, Line& line) {
  char* const tag = buffer_.data() + begin_;
  char* const end = lineEnd != nullptr ? lineEnd : buffer_.data() + end_;
  begin_ = static_cast<std::size_t>(end - buffer_.data()) + (lineEnd != nullptr ? 1 : 0);

  char* const dot = FindByte(tag, end, '.');
  char* const equals = dot != nullptr ? FindByte(dot + 1, end, '=') : nullptr;
  char* const tagEnd = dot != nullptr ? dot : end;
  // The tag index knows the bytes 1 to 255.
  const bool nulInTag = hasNul_ && FindByte(tag, tagEnd, '\0') != nullptr;
  if (nulInTag || (equals == nullptr && lineEnd != nullptr)) {
    Refuse();
    return false;
  }
  if (lineEnd == nullptr) return false;  // the last line counts only with its line feed
  char* const nul = hasNul_ ? FindByte(equals + 1, end, '\0') : nullptr;
  line = {.tag = std::string_view(tag, static_cast<std::size_t>(dot - tag)),
          .key = std::string_view(dot + 1, static_cast<std::size_t>(equals - dot - 1)),
          .value = equals + 1,
          .valueLength = static_cast<std::size_t>((nul != nullptr ? nul : end) - equals - 1)};
  return true;
}

}  // namespace du::internal
