#include "lmkutils/trace/trace_formatter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <locale>
#include <memory>
#include <new>
#include <stdexcept>
#include <streambuf>

#include "lmkutils/platform/environment.h"
#include "lmkutils/trace/internal/tracing.h"
#include "lmkutils/trace/internal/type_name.h"
#include "lmkutils/trace/printf_formatter.h"

namespace dp {
namespace {

constexpr std::size_t kBufferSize = 4096;  // of one formatted argument
constexpr std::string_view kUnrecognised = "<unrecognised format string>";

// Copies a text without its end; null, and whatever it may be in `out`, when it has no room.
char* CopyText(const char* text, char* out, const char* limit) noexcept {
  for (; *text != '\0'; ++text) {
    if (out == limit) return nullptr;
    *out++ = *text;
  }
  return out;
}

// Writes the argument of "%d", "%u" or "%s" and returns its end. Null, and no argument used up, for every
// other conversion and when there is no room.
char* PutPlainArgument(char conversion, std::va_list& args, char* out, char* limit) noexcept {
  constexpr std::ptrdiff_t kNumberSize = 11;
  switch (conversion) {
    case 'd':
      return limit - out < kNumberSize ? nullptr : std::to_chars(out, limit, va_arg(args, int)).ptr;
    case 'u':
      return limit - out < kNumberSize ? nullptr : std::to_chars(out, limit, va_arg(args, unsigned)).ptr;
    case 's': {
      std::va_list ahead;
      va_copy(ahead, args);
      const char* const text = va_arg(ahead, const char*);
      va_end(ahead);
      char* const end = CopyText(text != nullptr ? text : "(null)", out, limit);
      if (end != nullptr) static_cast<void>(va_arg(args, const char*));
      return end;
    }
    default:
      return nullptr;
  }
}

std::string JsonObject(const std::vector<std::string>& pairs) {
  std::string text = "{";
  for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
    if (i != 0) text += ", ";
    text.append("\"").append(pairs[i]).append("\": \"").append(pairs[i + 1]).append("\"");
  }
  return text += "}";
}

std::string ReadableList(const std::vector<std::string>& pairs) {
  std::string text;
  for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
    if (i != 0) text += ", ";
    text.append(pairs[i]).append(" = ").append(pairs[i + 1]);
  }
  return text;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, TraceType type) {
  const char* const name = internal::TypeNameOrNull(type);
  if (name == nullptr) throw std::runtime_error("Unexpected TraceType in operator <<");
  return stream << name;
}

// A stream whose characters go straight into the record's text.
class TraceFormatter::TextStream {
 public:
  explicit TextStream(TraceFormatter& record) : buffer_(record), stream_(&buffer_) {
    stream_.imbue(std::locale::classic());
  }
  std::ostream& Get() noexcept { return stream_; }

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(TraceFormatter& record) : record_(record) {}

   private:
    int_type overflow(int_type c) override {
      if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
      const char character = traits_type::to_char_type(c);
      record_.Append(std::string_view(&character, 1));
      return c;
    }
    std::streamsize xsputn(const char* text, std::streamsize count) override {
      record_.Append(std::string_view(text, static_cast<std::size_t>(count)));
      return count;
    }

    TraceFormatter& record_;
  };

  Buffer buffer_;
  std::ostream stream_;
};

TraceFormatter::TraceFormatter(const TraceFormatter& other) noexcept {
  *this = other;
}

TraceFormatter& TraceFormatter::operator=(const TraceFormatter& other) noexcept {
  if (this == &other) return *this;
  hasText_ = other.hasText_;
  broadcast_ = other.broadcast_;
  time_ = other.time_;
  type_ = other.type_;
  procId_ = other.procId_;
  threadId_ = other.threadId_;
  key_ = other.key_;
  subKey_ = other.subKey_;
  textSize_ = 0;
  Append(other.GetText());
  return *this;
}

bool TraceFormatter::Format(const char* format, std::va_list& args) noexcept {
  if (format == nullptr) return false;
  hasText_ = true;
  if (!IsInert() && longText_ == nullptr) format = FormatPlain(format, args);
  if (*format != '\0') FormatAny(format, args);
  return true;
}

// Most formats are short text with "%d", "%u" and "%s". These are written to where they belong, until
// something else comes or there is no more room; returns where that is in the format.
const char* TraceFormatter::FormatPlain(const char* format, std::va_list& args) noexcept {
  static_assert(kShortText < kBufferSize);  // so no argument is cut
  char* const limit = shortText_.data() + kShortText;
  char* out = shortText_.data() + textSize_;
  for (;; format += 2) {
    while (*format != '%' && *format != '\0' && out != limit) *out++ = *format++;
    char* const next = *format == '%' ? PutPlainArgument(format[1], args, out, limit) : nullptr;
    if (next == nullptr) break;
    out = next;
  }
  textSize_ = static_cast<std::size_t>(out - shortText_.data());
  return format;
}

// Whatever the format holds.
[[gnu::noinline]] void TraceFormatter::FormatAny(const char* format, std::va_list& args) noexcept {
  PrintfFormatter formatter(format, kBufferSize);
  const auto append = [this](const char* begin, const char* end) {
    Append(std::string_view(begin, static_cast<std::size_t>(end - begin)));
  };
  while (formatter.SkipToNextFormat()) {
    append(formatter.TextBegin(), formatter.TextEnd());
    if (formatter.ProcessFormatSequence(args)) {
      append(formatter.FormattedArgBegin(), formatter.FormattedArgEnd());
    } else {
      Append(kUnrecognised);
    }
  }
  append(formatter.TextBegin(), formatter.TextEnd());
}

bool TraceFormatter::FormatJson(const std::vector<std::string>& pairs) noexcept {
  if (IsInert()) return false;
  try {
    const bool json = Environment::Get("LUMORA_TRACE_FORMAT") == "json";
    Append(json ? JsonObject(pairs) : ReadableList(pairs));
  } catch (...) {
    return false;
  }
  hasText_ = true;
  return true;
}

const char* TraceFormatter::GetLevel() const noexcept {
  return internal::LevelName(type_).data();
}

TraceFormatter& TraceFormatter::operator<<(std::ostream& (*manipulator)(std::ostream&)) noexcept {
  if (IsInert()) return *this;
  try {
    manipulator(Stream());
  } catch (...) {
  }
  return *this;
}

TraceFormatter& TraceFormatter::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) noexcept {
  if (IsInert()) return *this;
  try {
    manipulator(Stream());
  } catch (...) {
  }
  return *this;
}

std::ostream& TraceFormatter::Stream() {
  hasText_ = true;
  if (stream_ == nullptr) stream_ = std::make_unique<TextStream>(*this).release();
  return stream_->Get();
}

void TraceFormatter::AppendText(const char* text) noexcept {
  AppendText(std::string_view(text != nullptr ? text : "(null)"));
}

// Once there is a stream, its width, fill and base count for everything that follows.
void TraceFormatter::AppendText(std::string_view text) noexcept {
  hasText_ = true;
  if (stream_ == nullptr) return Append(text);
  try {
    stream_->Get() << text;
  } catch (...) {
  }
}

void TraceFormatter::AppendSigned(long long value) noexcept {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  AppendText(std::string_view(digits.data(), static_cast<std::size_t>(end.ptr - digits.data())));
}

void TraceFormatter::AppendUnsigned(unsigned long long value) noexcept {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  AppendText(std::string_view(digits.data(), static_cast<std::size_t>(end.ptr - digits.data())));
}

void TraceFormatter::Append(std::string_view text) noexcept {
  if (IsInert() || text.empty()) return;
  if (textCapacity_ - textSize_ < text.size() && !MakeRoom(text.size())) return;
  char* const begin = longText_ != nullptr ? longText_ : shortText_.data();
  std::memcpy(begin + textSize_, text.data(), text.size());
  textSize_ += text.size();
}

// Without memory for its text the record becomes inert.
[[gnu::noinline]] bool TraceFormatter::MakeRoom(std::size_t size) noexcept {
  const std::size_t capacity = std::max(textCapacity_ * 2, textSize_ + size);
  char* const longer = new (std::nothrow) char[capacity];
  if (longer == nullptr) {
    type_ = kInert;
    return false;
  }
  std::memcpy(longer, GetText().data(), textSize_);
  delete[] longText_;
  longText_ = longer;
  textCapacity_ = capacity;
  return true;
}

// In one piece: see FileConsumer::ConsumeMessage.
[[gnu::flatten]] void TraceFormatter::Finish() noexcept {
  delete stream_;
  if (hasText_ && broadcast_ && !IsInert()) internal::Deliver(*this);
  delete[] longText_;
}

}  // namespace dp
