#include "lmkutils/time/internal/instant_text.h"

#include <charconv>
#include <cstring>
#include <string_view>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/internal/calendar.h"
#include "lmkutils/time/internal/local_zone.h"

namespace du::internal {
namespace {

constexpr std::int64_t kMilliseconds = 1000;
constexpr char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
constexpr char kDigitPairs[] =
    "0001020304050607080910111213141516171819202122232425262728293031323334353637383940414243444546474849"
    "5051525354555657585960616263646566676869707172737475767778798081828384858687888990919293949596979899";

char* WriteText(std::string_view text, char* out) noexcept {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// Below 100 each.
char* WritePadded2(unsigned value, char* out) noexcept {
  std::memcpy(out, kDigitPairs + 2 * value, 2);
  return out + 2;
}

char* WriteUpTo99(unsigned value, char* out) noexcept {
  if (value >= 10) return WritePadded2(value, out);
  *out = static_cast<char>('0' + value);
  return out + 1;
}

template <class Integer>
char* WriteNumber(Integer value, char* out) noexcept {
  return std::to_chars(out, out + 20, value).ptr;
}

char* WriteYear(std::int64_t year, char* out) noexcept {
  if (year < 1000 || year > 9999) return WriteNumber(year, out);
  const auto digits = static_cast<unsigned>(year);
  return WritePadded2(digits % 100, WritePadded2(digits / 100, out));
}

// ":07.042"
char* WriteSeconds(unsigned seconds, unsigned milliseconds, char* out) noexcept {
  *out++ = ':';
  out = WritePadded2(seconds, out);
  *out++ = '.';
  *out++ = static_cast<char>('0' + milliseconds / 100);
  return WritePadded2(milliseconds % 100, out);
}

char* WriteDate(std::int64_t days, char* out) noexcept {
  const Date date = DateFromDays(days);
  out = WriteUpTo99(date.day, out);
  *out++ = ' ';
  std::memcpy(out, kMonths + 3 * (date.month - 1), 3);
  out[3] = ' ';
  return WriteYear(date.year, out + 4);
}

char* WriteShortDate(std::int64_t days, char* out) noexcept {
  const Date date = DateFromDays(days);
  out = WriteYear(date.year, out);
  *out++ = '-';
  out = WritePadded2(date.month, out);
  *out++ = '-';
  return WritePadded2(date.day, out);
}

// `seconds` of the calendar that is shown, counted from the beginning of its 1970.
char* WriteInstant(std::int64_t seconds, unsigned milliseconds, char* out) noexcept {
  const std::int64_t days = FloorDiv(seconds, kSecondsPerDay);
  const auto ofDay = static_cast<unsigned>(seconds - days * kSecondsPerDay);
  out = WriteUpTo99(ofDay / 3600, out);
  *out++ = ':';
  out = WriteUpTo99(ofDay / 60 % 60, out);
  out = WriteSeconds(ofDay % 60, milliseconds, out);
  *out++ = ' ';
  *out++ = ' ';
  return WriteDate(days, out);
}

char* WriteBadInstant(char* out) noexcept {
  return WriteText("0:0:00.000  0 <Bad month> 0", out);
}

}  // namespace

char* WriteLocalInstant(std::int64_t milliseconds, char* out) noexcept {
  const std::int64_t seconds = FloorDiv(milliseconds, kMilliseconds);
  std::int64_t offset = 0;
  if (!LocalOffset(seconds, offset)) return WriteBadInstant(out);
  return WriteInstant(seconds + offset, static_cast<unsigned>(milliseconds - seconds * kMilliseconds), out);
}

char* WriteUtcInstant(std::int64_t milliseconds, char* out) noexcept {
  const std::int64_t seconds = FloorDiv(milliseconds, kMilliseconds);
  const os::CalendarRange range = os::GetCalendarRange();
  if (seconds < range.first || seconds > range.last) return WriteBadInstant(out);
  return WriteInstant(seconds, static_cast<unsigned>(milliseconds - seconds * kMilliseconds), out);
}

char* WriteDuration(std::int64_t milliseconds, char* out) noexcept {
  auto left = static_cast<std::uint64_t>(milliseconds);
  if (milliseconds < 0) {
    left = 0 - left;
    *out++ = '-';
  }
  const std::uint64_t seconds = left / kMilliseconds;
  out = WriteNumber(seconds / 3600, out);
  *out++ = ':';
  out = WriteUpTo99(static_cast<unsigned>(seconds / 60 % 60), out);
  return WriteSeconds(static_cast<unsigned>(seconds % 60), static_cast<unsigned>(left % kMilliseconds), out);
}

char* WriteLocalDate(std::int64_t milliseconds, bool isShort, char* out) noexcept {
  const std::int64_t seconds = FloorDiv(milliseconds, kMilliseconds);
  std::int64_t offset = 0;
  if (!LocalOffset(seconds, offset)) return WriteText(isShort ? "0000-00-00" : "0 <Bad month> 0", out);
  const std::int64_t days = FloorDiv(seconds + offset, kSecondsPerDay);
  return isShort ? WriteShortDate(days, out) : WriteDate(days, out);
}

}  // namespace du::internal
