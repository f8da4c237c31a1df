// The system's own forms of an instant, as Time takes them.
#ifndef LMKUTILS_TIME_SYSTEM_TIME_H
#define LMKUTILS_TIME_SYSTEM_TIME_H

#include <concepts>
#include <cstdint>

namespace du {

// 100-nanosecond steps since 1601-01-01 00:00:00 UTC, in two halves: the layout and the field names of the
// Windows structure FILETIME, for targets that lack it.
struct FileTime {
  std::uint32_t dwLowDateTime;
  std::uint32_t dwHighDateTime;
};

// Calendar fields in UTC: the layout and the field names of the Windows structure SYSTEMTIME.
struct SystemTime {
  std::uint16_t wYear;   // 1601..30827
  std::uint16_t wMonth;  // 1..12
  std::uint16_t wDayOfWeek;
  std::uint16_t wDay;
  std::uint16_t wHour;
  std::uint16_t wMinute;
  std::uint16_t wSecond;
  std::uint16_t wMilliseconds;
};

// What Time takes for them: these structures or those of <windows.h>, which this header need not include for
// that.
template <class T>
concept FileTimeLike = requires(const T& time) {
  { time.dwLowDateTime } -> std::convertible_to<std::uint32_t>;
  { time.dwHighDateTime } -> std::convertible_to<std::uint32_t>;
};

template <class T>
concept SystemTimeLike = requires(const T& time) {
  { time.wYear } -> std::convertible_to<std::uint16_t>;
  { time.wMonth } -> std::convertible_to<std::uint16_t>;
  { time.wDay } -> std::convertible_to<std::uint16_t>;
  { time.wHour } -> std::convertible_to<std::uint16_t>;
  { time.wMinute } -> std::convertible_to<std::uint16_t>;
  { time.wSecond } -> std::convertible_to<std::uint16_t>;
  { time.wMilliseconds } -> std::convertible_to<std::uint16_t>;
};

}  // namespace du

#endif
