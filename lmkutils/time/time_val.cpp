#include "lmkutils/time/time_val.h"

#include <ostream>

#include "lmkutils/time/internal/instant_text.h"

namespace du {
namespace {

using internal::WriteDuration;
using internal::WriteLocalDate;
using internal::WriteLocalInstant;
using internal::WriteUtcInstant;

struct Text {
  char characters[internal::kInstantTextSize];
  std::size_t size;

  explicit Text(auto write) noexcept : size(static_cast<std::size_t>(write(characters) - characters)) {}
};

std::string ToString(const Text& text) {
  return {text.characters, text.size};
}

// Written unformatted: nothing of the stream's state plays a part, nothing needs to be put back.
std::ostream& Print(std::ostream& stream, const Text& text) {
  return stream.write(text.characters, static_cast<std::streamsize>(text.size));
}

Text TextOf(const TimeVal& duration) noexcept {
  return Text([&](char* out) { return WriteDuration(duration.GetMilliSeconds(), out); });
}

Text TextOf(const LocalTimeVal& instant) noexcept {
  return Text([&](char* out) { return WriteLocalInstant(instant.GetMilliSeconds(), out); });
}

Text TextOf(const UtcTimeVal& instant) noexcept {
  return Text([&](char* out) { return WriteUtcInstant(instant.GetMilliSeconds(), out); });
}

Text DateOf(const LocalTimeVal& instant, bool isShort) noexcept {
  return Text([&](char* out) { return WriteLocalDate(instant.GetMilliSeconds(), isShort, out); });
}

}  // namespace

std::string TimeVal::GetString() const {
  return ToString(TextOf(*this));
}

std::string LocalTimeVal::GetString() const {
  return ToString(TextOf(*this));
}

std::string LocalTimeVal::GetDateString() const {
  return ToString(DateOf(*this, false));
}

std::string LocalTimeVal::GetDateStringShort() const {
  return ToString(DateOf(*this, true));
}

std::string UtcTimeVal::GetString() const {
  return ToString(TextOf(*this));
}

std::ostream& operator<<(std::ostream& stream, const TimeVal& duration) {
  return Print(stream, TextOf(duration));
}

std::ostream& operator<<(std::ostream& stream, const LocalTimeVal& instant) {
  return Print(stream, TextOf(instant));
}

std::ostream& operator<<(std::ostream& stream, const UtcTimeVal& instant) {
  return Print(stream, TextOf(instant));
}

}  // namespace du
