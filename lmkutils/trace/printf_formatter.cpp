#include "lmkutils/trace/printf_formatter.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace dp {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsFlag(char c) {
  return c == '-' || c == '+' || c == '#' || c == '0' || c == ' ';
}

// The text's length; `limit` when it is not shorter. Most texts are, by far, and a call of the run-time
// library costs more than they do.
std::size_t LengthWithin(const char* text, std::size_t limit) {
  const std::size_t shortLimit = std::min<std::size_t>(limit, 32);
  for (std::size_t length = 0; length < shortLimit; ++length)
    if (text[length] == '\0') return length;
  const void* const end = std::memchr(text + shortLimit, '\0', limit - shortLimit);
  return end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : limit;
}

// The longest prefix of at most `limit` bytes that does not end inside a UTF-8 character. Bytes that are not
// UTF-8 are cut anywhere.
std::size_t CutLength(const char* text, std::size_t limit) {
  for (std::size_t back = 1; back <= 3 && back <= limit; ++back) {
    const auto byte = static_cast<unsigned char>(text[limit - back]);
    if (byte < 0x80) break;
    if (byte < 0xC0) continue;
    const std::size_t need = byte < 0xE0 ? 2U : byte < 0xF0 ? 3U : byte < 0xF8 ? 4U : 1U;
    return need > back ? limit - back : limit;
  }
  return limit;
}

}  // namespace

PrintfFormatter::PrintfFormatter(const char* format, std::size_t bufferSize)
    : position_(format != nullptr ? format : ""),
      textBegin_(position_),
      textEnd_(position_),
      bufferSize_(std::max<std::size_t>(bufferSize, 1)) {
  if (bufferSize_ > kInlineSize) large_ = std::make_unique<char[]>(bufferSize_);
}

bool PrintfFormatter::SkipToNextFormat() noexcept {
  textBegin_ = position_;
  while (*position_ != '%' && *position_ != '\0') ++position_;
  textEnd_ = position_;
  return *position_ == '%';
}

bool PrintfFormatter::ProcessFormatSequence(std::va_list& args) noexcept {
  argBegin_ = argEnd_ = position_;
  if (*position_ != '%') return false;
  ++position_;
  if (*position_ == '%') {
    argEnd_ = ++position_;
    ++argBegin_;
    return true;
  }
  specLength_ = 0;
  specFits_ = true;
  CopyFormatSpecChar('%');
  plain_ = IsLetter(*position_);
  if (!plain_) {
    CopyFlags();
    CopyWidth(args);
    CopyPrecision(args);
  }
  const Length length = ReadLength();
  const char conversion = *position_;
  // An end of the format is never stepped over, and a '%' starts a conversion of its own.
  if (conversion == '\0' || conversion == '%') return false;
  ++position_;
  switch (conversion) {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
      return FormatInteger(conversion, length, args);
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
      return PrintValue(Length::kNone, conversion, va_arg(args, double));
    case 'c':
      return FormatCharacter(length, args);
    case 's':
      return FormatText(length, args);
    case 'p':
      return PrintValue(Length::kNone, conversion, va_arg(args, const void*));
    default:
      return false;
  }
}

// False, and the conversion given up, when it has no room for the character and its end.
bool PrintfFormatter::CopyFormatSpecChar(char c) noexcept {
  if (!specFits_ || specLength_ + 1 >= spec_.size()) {
    specLength_ = 0;
    specFits_ = false;
    return false;
  }
  spec_[specLength_++] = c;
  return true;
}

void PrintfFormatter::FinalizeFormatSpec() noexcept {
  spec_[specLength_] = '\0';
}

void PrintfFormatter::CopyFlags() noexcept {
  for (; IsFlag(*position_); ++position_) CopyFormatSpecChar(*position_);
}

void PrintfFormatter::CopyWidth(std::va_list& args) noexcept {
  if (*position_ == '*') {
    ++position_;
    const int width = va_arg(args, int);
    if (width < 0) CopyFormatSpecChar('-');
    CopyNumber(width == INT_MIN ? INT_MAX : std::abs(width));
  } else if (IsDigit(*position_)) {
    CopyNumber(ReadNumber());
  }
}

void PrintfFormatter::CopyPrecision(std::va_list& args) noexcept {
  if (*position_ != '.') return;
  ++position_;
  if (*position_ == '*') {
    ++position_;
    const int precision = va_arg(args, int);
    if (precision < 0) return;  // as if there were none
    CopyFormatSpecChar('.');
    CopyNumber(precision);
  } else {
    CopyFormatSpecChar('.');
    CopyNumber(ReadNumber());
  }
}

// Beyond the largest buffer a width or precision changes nothing that is seen, but some run-time libraries
// fail on large ones, or allocate as much.
void PrintfFormatter::CopyNumber(int number) noexcept {
  std::array<char, 8> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), std::min(number, kMaxNumber));
  for (const char* digit = digits.data(); digit != end.ptr; ++digit) CopyFormatSpecChar(*digit);
}

// The digits at the position; no digits are 0. A text of digits longer than the buffer makes the
// conversion one that does not fit.
int PrintfFormatter::ReadNumber() noexcept {
  int number = 0;
  std::size_t digits = 0;
  for (; IsDigit(*position_); ++position_, ++digits)
    number = std::min(number * 10 + (*position_ - '0'), kMaxNumber + 1);
  if (digits >= spec_.size()) specFits_ = false;
  return number;
}

PrintfFormatter::Length PrintfFormatter::ReadLength() noexcept {
  if (*position_ == 'h') {
    ++position_;
    return Length::kShort;
  }
  if (*position_ != 'l') return Length::kNone;
  ++position_;
  if (*position_ != 'l') return Length::kLong;
  ++position_;
  return Length::kLongLong;
}

bool PrintfFormatter::FormatInteger(char conversion, Length length, std::va_list& args) noexcept {
  if (conversion == 'd' || conversion == 'i') {
    switch (length) {
      case Length::kLongLong:
        return PrintInteger(conversion, length, va_arg(args, long long));
      case Length::kLong:
        return PrintInteger(conversion, length, va_arg(args, long));
      case Length::kShort:
        return PrintInteger(conversion, Length::kNone,
                            static_cast<int>(static_cast<short>(va_arg(args, int))));
      default:
        return PrintInteger(conversion, length, va_arg(args, int));
    }
  }
  switch (length) {
    case Length::kLongLong:
      return PrintInteger(conversion, length, va_arg(args, unsigned long long));
    case Length::kLong:
      return PrintInteger(conversion, length, va_arg(args, unsigned long));
    case Length::kShort:
      return PrintInteger(conversion, Length::kNone,
                          static_cast<unsigned>(static_cast<unsigned short>(va_arg(args, unsigned))));
    default:
      return PrintInteger(conversion, length, va_arg(args, unsigned));
  }
}

template <class Value>
bool PrintfFormatter::PrintInteger(char conversion, Length length, Value value) noexcept {
  if (!plain_ || conversion == 'X' || bufferSize_ < inline_.size())
    return PrintValue(length, conversion, value);
  const int base = conversion == 'x' ? 16 : conversion == 'o' ? 8 : 10;
  argBegin_ = inline_.data();
  argEnd_ = std::to_chars(inline_.data(), inline_.data() + inline_.size(), value, base).ptr;
  return true;
}

bool PrintfFormatter::FormatText(Length length, std::va_list& args) noexcept {
  if (length == Length::kLong || length == Length::kLongLong) {
    const wchar_t* const text = va_arg(args, const wchar_t*);
    return PrintValue(Length::kLong, 's', text != nullptr ? text : L"(null)");
  }
  const char* text = va_arg(args, const char*);
  if (text == nullptr) text = "(null)";
  if (!plain_) return PrintValue(Length::kNone, 's', text);
  const std::size_t size = LengthWithin(text, bufferSize_);
  argBegin_ = text;
  argEnd_ = text + (size < bufferSize_ ? size : CutLength(text, bufferSize_ - 1));
  return true;
}

bool PrintfFormatter::FormatCharacter(Length length, std::va_list& args) noexcept {
  const int value = va_arg(args, int);
  if (length == Length::kLong || length == Length::kLongLong)
    return PrintValue(Length::kLong, 'c', static_cast<std::wint_t>(value));
  return PrintValue(Length::kNone, 'c', value);
}

template <class Value>
bool PrintfFormatter::PrintValue(Length length, char conversion, Value value) noexcept {
  if (length == Length::kLong || length == Length::kLongLong) CopyFormatSpecChar('l');
  if (length == Length::kLongLong) CopyFormatSpecChar('l');
  CopyFormatSpecChar(conversion);
  if (!specFits_) return false;
  FinalizeFormatSpec();
  char* const buffer = large_ != nullptr ? large_.get() : inline_.data();
  argBegin_ = buffer;
  return Expose(std::snprintf(buffer, bufferSize_, spec_.data(), value));
}

bool PrintfFormatter::Expose(int printed) noexcept {
  if (printed < 0) return false;
  const auto length = static_cast<std::size_t>(printed);
  argEnd_ = argBegin_ + (length < bufferSize_ ? length : CutLength(argBegin_, bufferSize_ - 1));
  return true;
}

}  // namespace dp
