#include "lmkutils/time/time.h"

#include <array>
#include <cstdio>
#include <optional>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/internal/calendar.h"
#include "lmkutils/time/internal/calendar_text.h"
#include "lmkutils/time/internal/iso8601.h"

namespace du {
namespace {

constexpr std::int64_t kMilliseconds = 1000;
constexpr std::uint64_t kFileTicksPerSecond = 10'000'000;
constexpr std::int64_t kFileTimeEpoch = internal::DaysFromDate(1601, 1, 1) * internal::kSecondsPerDay;

}  // namespace

Time::Time() {
  SetToCurrentTime();
}

Time::Time(const std::int64_t& milliseconds) {
  SetToUtcTime(milliseconds);
}

void Time::SetToCurrentTime() {
  SetToSeconds(os::WallSeconds());
}

void Time::SetToUtcTime(const std::int64_t& milliseconds) {
  SetToSeconds(internal::FloorDiv(milliseconds, kMilliseconds));
}

void Time::SetToSeconds(std::int64_t seconds) {
  seconds_ = seconds;
  if (!os::LocalCalendar(seconds, local_)) local_ = std::tm{};
}

bool Time::SetToFileTicks(std::uint64_t ticks) {
  if (ticks >> 63 != 0) return false;
  SetToSeconds(static_cast<std::int64_t>(ticks / kFileTicksPerSecond) + kFileTimeEpoch);
  return true;
}

bool Time::SetToSystemFields(const SystemTime& fields) {
  if (fields.wYear < 1601 || fields.wYear > 30827 || fields.wMonth < 1 || fields.wMonth > 12) return false;
  if (fields.wDay < 1 || fields.wDay > internal::DaysInMonth(fields.wYear, fields.wMonth)) return false;
  if (fields.wHour > 23 || fields.wMinute > 59 || fields.wSecond > 59 || fields.wMilliseconds > 999) {
    return false;
  }
  SetToSeconds(internal::DaysFromDate(fields.wYear, fields.wMonth, fields.wDay) * internal::kSecondsPerDay +
               fields.wHour * 3600 + fields.wMinute * 60 + fields.wSecond);
  return true;
}

bool Time::SetToISO8601(const std::string& text) {
  const std::optional<std::int64_t> seconds = internal::ParseISO8601(text);
  if (!seconds) return false;
  SetToSeconds(*seconds);
  return true;
}

bool Time::IsTimeValid(const std::int64_t& milliseconds) {
  std::tm fields;
  return os::LocalCalendar(internal::FloorDiv(milliseconds, kMilliseconds), fields);
}

std::string Time::ToISO8601() const {
  const std::int64_t days = internal::FloorDiv(seconds_, internal::kSecondsPerDay);
  const auto ofDay = static_cast<int>(seconds_ - days * internal::kSecondsPerDay);
  const internal::Date date = internal::DateFromDays(days);
  std::array<char, 48> text;
  std::snprintf(text.data(), text.size(), "%0*lld%02u%02uT%02d%02d%02d", date.year < 0 ? 5 : 4,
                static_cast<long long>(date.year), date.month, date.day, ofDay / 3600, ofDay / 60 % 60,
                ofDay % 60);
  return text.data();
}

std::string Time::ToLocalTimeString(const std::string& format) const {
  return ToLocalTimeString(format.c_str());
}

std::string Time::ToLocalTimeString(const char* format) const {
  if (format == nullptr || local_.tm_mday == 0) return {};
  return internal::FormatCalendar(format, local_, internal::SecondsFromFields(local_) - seconds_);
}

}  // namespace du
