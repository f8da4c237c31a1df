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

class PlaceholderScanner {
 public:
  explicit PlaceholderScanner(std::string_view text) : text_(text) {}

  // Finds the next placeholder; false when only literal text is left.
  bool Next() noexcept {
    while (FindBraces()) {
      const auto end = text_.begin() + static_cast<std::ptrdiff_t>(close_);
      const auto notDigit =
          std::find_if_not(text_.begin() + static_cast<std::ptrdiff_t>(open_) + 1, end, IsDigit);
      if (notDigit != end) {
        from_ = static_cast<std::size_t>(notDigit - text_.begin());
      } else {
        from_ = close_ + 1;
        if (close_ > open_ + 1) return true;
      }
    }
    return false;
  }
  std::size_t Begin() const noexcept { return open_; }
  std::size_t End() const noexcept { return close_ + 1; }
  std::int32_t Argument() const noexcept {
    return SaturatingNumber(text_.substr(open_ + 1, close_ - open_ - 1));
  }

 private:
  // The closing brace is kept: looking for it anew from each opening one would be quadratic.
  bool FindBraces() noexcept {
    open_ = text_.find('{', from_);
    if (open_ == text_.npos) return false;
    if (close_ <= open_) close_ = text_.find('}', open_);
    return close_ != text_.npos;
  }

  std::string_view text_;
  std::size_t from_ = 0;
  std::size_t open_ = 0;
  std::size_t close_ = 0;
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
