// The printf engine of the trace records.
#ifndef LMKUTILS_TRACE_PRINTF_FORMATTER_H
#define LMKUTILS_TRACE_PRINTF_FORMATTER_H

#include <array>
#include <cstdarg>
#include <cstddef>
#include <memory>

#include "lmkutils/export.h"

namespace dp {

// Walks through a printf format one conversion at a time:
//
//   PrintfFormatter formatter(format, 4096);
//   while (formatter.SkipToNextFormat()) {
//     out.append(formatter.TextBegin(), formatter.TextEnd());
//     if (formatter.ProcessFormatSequence(args)) out.append(formatter.FormattedArgBegin(), ...ArgEnd());
//   }
//   out.append(formatter.TextBegin(), formatter.TextEnd());  // what follows the last conversion
//
// Accepted: "%%"; the flags - + # 0 and blank, a width and a precision of digits or '*', the lengths h, l
// and ll, and the conversions c s p d i o u x X e E f F g G. Everything else, %n among it, is unrecognised
// and takes no argument but those of its stars. Formats are data here: none makes it read past the format's
// end, write beyond its buffer or run the run-time library on more than 4096 characters of width. Wrong
// argument types remain the caller's fault, as with printf. One thread at a time; the format must outlive it.
class LMK_API PrintfFormatter {
 public:
  // A formatted argument is cut to `bufferSize` - 1 bytes, at the boundary of a UTF-8 character.
  // Null counts as the empty format. Throws std::bad_alloc for sizes above 4096 when there is no memory.
  PrintfFormatter(const char* format, std::size_t bufferSize);
  PrintfFormatter(const PrintfFormatter&) = delete;
  PrintfFormatter& operator=(const PrintfFormatter&) = delete;

  // Advances to the next '%'; false when there is none. Either way the literal text passed over is exposed.
  bool SkipToNextFormat() noexcept;
  const char* TextBegin() const noexcept { return textBegin_; }
  const char* TextEnd() const noexcept { return textEnd_; }

  // Reads the conversion at the '%' reached and formats its argument; false when it is not recognised.
  // `args` as for TraceFormatter::Format.
  bool ProcessFormatSequence(std::va_list& args) noexcept;
  // Valid until the next call.
  const char* FormattedArgBegin() const noexcept { return argBegin_; }
  const char* FormattedArgEnd() const noexcept { return argEnd_; }

 private:
  enum class Length { kNone, kShort, kLong, kLongLong };

  static constexpr std::size_t kInlineSize = 4096;
  static constexpr int kMaxNumber = 4096;  // of widths and precisions

  bool CopyFormatSpecChar(char c) noexcept;
  void FinalizeFormatSpec() noexcept;
  void CopyFlags() noexcept;
  void CopyWidth(std::va_list& args) noexcept;
  void CopyPrecision(std::va_list& args) noexcept;
  void CopyNumber(int number) noexcept;
  int ReadNumber() noexcept;
  Length ReadLength() noexcept;
  bool FormatInteger(char conversion, Length length, std::va_list& args) noexcept;
  bool FormatText(Length length, std::va_list& args) noexcept;
  bool FormatCharacter(Length length, std::va_list& args) noexcept;
  template <class Value>
  bool PrintValue(Length length, char conversion, Value value) noexcept;
  template <class Value>
  bool PrintInteger(char conversion, Length length, Value value) noexcept;
  bool Expose(int printed) noexcept;

  const char* position_;
  const char* textBegin_;
  const char* textEnd_;
  const char* argBegin_ = nullptr;
  const char* argEnd_ = nullptr;
  bool plain_ = false;  // the conversion has no flag, width or precision
  bool specFits_ = true;
  std::size_t specLength_ = 0;
  std::size_t bufferSize_;
  std::unique_ptr<char[]> large_;
  std::array<char, 64> spec_;
  std::array<char, kInlineSize> inline_;
};

}  // namespace dp

#endif
