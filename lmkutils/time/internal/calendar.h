// The calendar as arithmetic: days and seconds since 1970 to year, month and day and back, in the proleptic
// Gregorian calendar with astronomical years (the year before 1 is 0). No limits but those of the types.
//
// The algorithms are "days_from_civil" and "civil_from_days" of Howard Hinnant's paper "chrono-Compatible
// Low-Level Date Algorithms": years begin in March, so that the leap day is a year's last, and 400 of them
// make an era of 146097 days.
#ifndef LMKUTILS_TIME_INTERNAL_CALENDAR_H
#define LMKUTILS_TIME_INTERNAL_CALENDAR_H

#include <cstdint>
#include <ctime>

namespace du::internal {

inline constexpr std::int64_t kSecondsPerDay = 86400;

// Quotient rounded down; the divisor is positive.
constexpr std::int64_t FloorDiv(std::int64_t value, std::int64_t divisor) noexcept {
  return value / divisor - (value % divisor < 0 ? 1 : 0);
}

struct Date {
  std::int64_t year;
  unsigned month;  // 1..12
  unsigned day;    // 1..31
};

// `month` in 1..12; any day of the month, so that day 0 is the last of the month before.
constexpr std::int64_t DaysFromDate(std::int64_t year, unsigned month, std::int64_t day) noexcept {
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t era = FloorDiv(y, 400);
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear + day - 1 - 719468;
}

constexpr Date DateFromDays(std::int64_t days) noexcept {
  const std::int64_t shifted = days + 719468;  // since 0000-03-01
  const std::int64_t era = FloorDiv(shifted, 146097);
  const auto dayOfEra = static_cast<unsigned>(shifted - era * 146097);
  const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned month = (5 * dayOfYear + 2) / 153;  // 0 is March
  const unsigned day = dayOfYear - (153 * month + 2) / 5 + 1;
  const std::int64_t year = era * 400 + yearOfEra + (month >= 10 ? 1 : 0);
  return {year, month < 10 ? month + 3 : month - 9, day};
}

constexpr bool IsLeapYear(std::int64_t year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr unsigned DaysInMonth(std::int64_t year, unsigned month) noexcept {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// The seconds since 1970 that these calendar fields name, taken as UTC.
constexpr std::int64_t SecondsFromFields(const std::tm& fields) noexcept {
  const std::int64_t days = DaysFromDate(std::int64_t{fields.tm_year} + 1900,
                                         static_cast<unsigned>(fields.tm_mon) + 1, fields.tm_mday);
  return days * kSecondsPerDay + fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec;
}

}  // namespace du::internal

#endif
