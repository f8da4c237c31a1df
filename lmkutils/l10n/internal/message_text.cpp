#include "lmkutils/l10n/internal/message_text.h"

#include <algorithm>
#include <cstring>

namespace du::internal {
namespace {

constexpr std::int32_t kMaxArgument = 0x7FFFFFFE;

// What stands for a backslash and `c`; 0 when the two are no escape.
char EscapedCharacter(char c) noexcept {
  switch (c) {
    case '"':
    case '?':
    case '\\':
      return c;
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return 0;
  }
}

bool IsDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

std::int32_t SaturatingNumber(std::string_view digits) noexcept {
  std::int64_t number = 0;
  for (const char digit : digits) number = std::min<std::int64_t>(number * 10 + (digit - '0'), kMaxArgument);
  return static_cast<std::int32_t>(number);
}

// Finds "{", digits, "}". Whether any other brace is ever closed need not be known: it is literal text either
// way.
class PlaceholderScanner {
 public:
  explicit PlaceholderScanner(std::string_view text) : text_(text) {}

  // Finds the next placeholder; false when only literal text is left.
  bool Next() noexcept {
    for (;;) {
      begin_ = text_.find('{', end_);
      if (begin_ == text_.npos) return false;
      end_ = begin_ + 1;
      while (end_ < text_.size() && IsDigit(text_[end_])) ++end_;
      if (end_ == text_.size() || text_[end_] != '}') continue;  // what stopped it may open the next one
      ++end_;
      if (end_ - begin_ > 2) return true;
    }
  }
  std::size_t Begin() const noexcept { return begin_; }
  std::size_t End() const noexcept { return end_; }
  std::int32_t Argument() const noexcept {
    return SaturatingNumber(text_.substr(begin_ + 1, end_ - begin_ - 2));
  }

 private:
  std::string_view text_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace

std::size_t Unescape(char* text, std::size_t length) noexcept {
  char* const end = text + length;
  char* from = length != 0 ? static_cast<char*>(std::memchr(text, '\\', length)) : nullptr;
  if (from == nullptr) return length;
  char* to = from;
  while (from != end) {
    const char escaped = *from == '\\' && from + 1 != end ? EscapedCharacter(from[1]) : '\0';
    if (escaped != 0) ++from;
    *to++ = escaped != 0 ? escaped : *from;
    ++from;
  }
  return static_cast<std::size_t>(to - text);
}

std::int32_t CutAtPlaceholders(std::string_view text, std::vector<Segment>& segments) {
  std::size_t pieceStart = 0;
  std::int32_t argumentCount = 0;
  const auto add = [&](std::size_t pieceEnd, std::int32_t argument) {
    segments.push_back(
        {static_cast<std::uint32_t>(pieceStart), static_cast<std::int32_t>(pieceEnd - pieceStart), argument});
  };
  for (PlaceholderScanner scanner(text); scanner.Next(); pieceStart = scanner.End()) {
    const std::int32_t argument = scanner.Argument();
    add(scanner.Begin(), argument);
    argumentCount = std::max(argumentCount, argument + 1);
  }
  add(text.size(), -1);
  return argumentCount;
}

}  // namespace du::internal
