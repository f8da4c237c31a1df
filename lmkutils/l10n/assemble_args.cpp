#include "lmkutils/l10n/assemble_args.h"

#include <array>
#include <charconv>
#include <cstdarg>

#include "lmkutils/trace/printf_formatter.h"

namespace du {
namespace {

constexpr std::size_t kFormatBufferSize = 4096;
constexpr std::size_t kUsualArguments = 4;  // one block of memory for most messages

template <class Value>
std::string_view Decimal(std::array<char, 24>& digits, Value value) {
  const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  return {digits.data(), static_cast<std::size_t>(end.ptr - digits.data())};
}

}  // namespace

AssembleArgs::AssembleArgs() = default;

AssembleArgs::AssembleArgs(const std::locale& locale) : locale_(locale) {}

AssembleArgs::AssembleArgs(const char* format, ...) {
  dp::PrintfFormatter formatter(format, kFormatBufferSize);
  std::va_list args;
  va_start(args, format);
  try {
    while (formatter.SkipToNextFormat()) {
      const bool isKnown = formatter.ProcessFormatSequence(args);
      AddArgument(isKnown ? std::string_view(formatter.FormattedArgBegin(), formatter.FormattedArgEnd())
                          : "<argument formatting error>");
    }
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
}

AssembleArgs::~AssembleArgs() = default;

AssembleArgs& AssembleArgs::operator<<(std::ostream& (*manipulator)(std::ostream&)) {
  InsertByStream(manipulator);
  return *this;
}

AssembleArgs& AssembleArgs::operator<<(std::ios& (*manipulator)(std::ios&)) {
  InsertByStream(manipulator);
  return *this;
}

AssembleArgs& AssembleArgs::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
  InsertByStream(manipulator);
  return *this;
}

AssembleArgs& AssembleArgs::AddEmptyArgument() {
  AddArgument({});
  return *this;
}

std::ostream& AssembleArgs::GetStream() {
  if (!stream_) stream_.emplace().imbue(locale_);
  return *stream_;
}

// A stream that stayed in a failed state would swallow all later arguments.
void AssembleArgs::PostInputHandler() {
  if (!stream_) return;
  const bool failed = stream_->fail();
  stream_->clear();
  if (!failed && stream_->tellp() == std::streampos(0)) return;
  const std::string text = stream_->str();
  DropInput();
  AddArgument(text);
}

// Only the classic locale is known to write a number as plain digits.
bool AssembleArgs::NeedsStreamForNumbers() const {
  return stream_.has_value() || locale_ != std::locale::classic();
}

void AssembleArgs::AddText(const char* text) {
  if (text == nullptr) {
    AddEmptyArgument();
  } else {
    AddText(std::string_view(text));
  }
}

void AssembleArgs::AddText(std::string_view text) {
  if (stream_) {
    InsertByStream(text);
  } else if (!text.empty()) {
    AddArgument(text);
  }
}

void AssembleArgs::AddInteger(long long value) {
  std::array<char, 24> digits;
  AddArgument(Decimal(digits, value));
}

void AssembleArgs::AddInteger(unsigned long long value) {
  std::array<char, 24> digits;
  AddArgument(Decimal(digits, value));
}

void AssembleArgs::AddArgument(std::string_view text) {
  if (arguments_.empty()) arguments_.reserve(kUsualArguments);
  arguments_.emplace_back(text);
}

void AssembleArgs::DropInput() noexcept {
  stream_->clear();
  stream_->str(std::string());
}

}  // namespace du
