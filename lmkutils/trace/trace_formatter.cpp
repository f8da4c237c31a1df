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
  return true;
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
bool TraceFormatter::MakeRoom(std::size_t size) noexcept {
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

void TraceFormatter::Finish() noexcept {
  delete stream_;
  if (hasText_ && broadcast_ && !IsInert()) internal::Deliver(*this);
  delete[] longText_;
}

}  // namespace dp
