// Times in the headers of an archive: years from 1980 to 2107, steps of two seconds, 16 bits for the date and
// 16 for the time of day, as MS-DOS had them. They are UTC here.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_TIME_H
#define LMKUTILS_FILES_INTERNAL_ZIP_TIME_H

#include <algorithm>
#include <cstdint>

#include "lmkutils/time/internal/calendar.h"

namespace du::internal {

inline constexpr std::int64_t kFirstDosYear = 1980;
inline constexpr std::int64_t kFirstDosTime = DaysFromDate(kFirstDosYear, 1, 1) * kSecondsPerDay;
inline constexpr std::int64_t kLastDosTime = DaysFromDate(kFirstDosYear + 128, 1, 1) * kSecondsPerDay - 2;

// Of seconds since 1970; the nearest time that there is.
constexpr std::uint32_t DosTime(std::int64_t seconds) noexcept {
  seconds = std::clamp(seconds, kFirstDosTime, kLastDosTime);
  const Date date = DateFromDays(seconds / kSecondsPerDay);
  const auto second = static_cast<std::uint32_t>(seconds % kSecondsPerDay);
  const std::uint32_t day =
      static_cast<std::uint32_t>(date.year - kFirstDosYear) << 9 | date.month << 5 | date.day;
  return day << 16 | (second / 3600) << 11 | (second / 60 % 60) << 5 | second % 60 / 2;
}

// Seconds since 1970. Fields that name no time (month 0, 31 o'clock) are taken as those nearest to them.
constexpr std::int64_t SecondsOfDosTime(std::uint32_t time) noexcept {
  const auto month = std::clamp<std::uint32_t>(time >> 21 & 15, 1, 12);
  const auto day = std::max<std::uint32_t>(time >> 16 & 31, 1);
  const std::int64_t days = DaysFromDate(kFirstDosYear + (time >> 25), month, day);
  const std::uint32_t second = std::min<std::uint32_t>(time >> 11 & 31, 23) * 3600 +
                               std::min<std::uint32_t>(time >> 5 & 63, 59) * 60 +
                               std::min<std::uint32_t>(time & 31, 29) * 2;
  return days * kSecondsPerDay + second;
}

// Between those and the times of files, in units of 100 ns since 1601.
inline constexpr std::int64_t kUnitsPerSecond = 10'000'000;
inline constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

constexpr std::int64_t SecondsOfFileTime(std::uint64_t units) noexcept {
  return static_cast<std::int64_t>(units / kUnitsPerSecond) - kSecondsFrom1601To1970;
}

constexpr std::uint64_t FileTimeOf(std::int64_t seconds) noexcept {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(seconds + kSecondsFrom1601To1970, 0) *
                                    kUnitsPerSecond);
}

static_assert(SecondsOfDosTime(DosTime(kFirstDosTime)) == kFirstDosTime);
static_assert(SecondsOfDosTime(DosTime(kLastDosTime + 1'000'000)) == kLastDosTime);

}  // namespace du::internal

#endif
