// A calendar instant.
#ifndef LMKUTILS_TIME_TIME_H
#define LMKUTILS_TIME_TIME_H

#include <cstdint>
#include <ctime>
#include <string>

#include "lmkutils/export.h"
#include "lmkutils/time/system_time.h"

namespace du {

// A whole second since 1970-01-01 00:00:00 UTC together with its local calendar form (see LocalTimeVal for
// the zone). A value: different objects may be used by different threads, and one by many as long as none
// changes it. Milliseconds come in as the library's unit of time, seconds go out; fractions are rounded down.
//
// Instants that the run-time's calendar refuses (on Windows those before 1970 or after the year 3000) are
// held and compared, but have no local calendar form: year day 0, no daylight saving, empty local texts.
class LMK_API Time {
 public:
  // Now.
  Time();
  explicit Time(const std::int64_t& milliseconds);
  // From the system's own structures, FILETIME and SYSTEMTIME on Windows. What the SetTo functions refuse
  // gives the instant 0.
  template <FileTimeLike T>
  explicit Time(const T* fileTime) : Time(std::int64_t{0}) {
    SetToFileTime(fileTime);
  }
  template <SystemTimeLike T>
  explicit Time(const T* systemTime) : Time(std::int64_t{0}) {
    SetToSystemTime(systemTime);
  }

  Time(const Time&) noexcept = default;
  Time(Time&&) noexcept = default;
  Time& operator=(const Time&) noexcept = default;
  Time& operator=(Time&&) noexcept = default;

  void SetToCurrentTime();
  // Milliseconds since 1970; any value.
  void SetToUtcTime(const std::int64_t& milliseconds);

  // The functions that can be given nonsense answer false then and leave the time as it was.

  // False for null and for values of 2^63 steps or more, as the system has it.
  template <FileTimeLike T>
  bool SetToFileTime(const T* fileTime) {
    return fileTime != nullptr &&
           SetToFileTicks((std::uint64_t{fileTime->dwHighDateTime} << 32) | fileTime->dwLowDateTime);
  }

  // UTC; the week day is not looked at. False for null, years outside 1601..30827 and fields that name no
  // instant (31 April, 24 o'clock).
  template <SystemTimeLike T>
  bool SetToSystemTime(const T* systemTime) {
    return systemTime != nullptr &&
           SetToSystemFields({systemTime->wYear, systemTime->wMonth, 0, systemTime->wDay, systemTime->wHour,
                              systemTime->wMinute, systemTime->wSecond, systemTime->wMilliseconds});
  }

  // An instant by ISO 8601, years 0000 to 9999:
  //   date   20261117 or 2026-11-17
  //   time   none (midnight), or after a T the time 09, 0905, 09:05, 090507 or 09:05:07; 240000 is the end
  //          of the day, a second of 60 the second after 59. The last part may have decimals after "." or ","
  //   zone   none or Z: UTC; else the offset of local time +01, +0100 or +01:00 (also with "-")
  // Date, time and offset may each be basic or extended; t and z are taken for T and Z; fractions of a second
  // are dropped. False for all else, blanks before or after included.
  bool SetToISO8601(const std::string& text);

  // Seconds since 1970.
  [[nodiscard]] std::int64_t GetTime() const noexcept { return seconds_; }
  // Days since 1 January of the local year.
  [[nodiscard]] int GetYearDay() const noexcept { return local_.tm_yday; }
  // Whether daylight-saving time is in force locally.
  [[nodiscard]] bool IsDaylightSaving() const noexcept { return local_.tm_isdst > 0; }

  [[nodiscard]] bool operator<(const Time& other) const noexcept { return seconds_ < other.seconds_; }

  // Whether the run-time's calendar takes the instant, given in milliseconds since 1970, and so whether it
  // has a local calendar form.
  [[nodiscard]] static bool IsTimeValid(const std::int64_t& milliseconds);

  // The instant in UTC, "20261117T090507": the basic format without a zone, of any instant. SetToISO8601
  // takes those of the years 0 to 9999 back.
  [[nodiscard]] std::string ToISO8601() const;

  // The local calendar form by a strftime format, with the conversions of C99 (%E and %O forms as their plain
  // ones) on every target. Names are those of the program's C locale. What is no conversion is copied; null
  // gives an empty text.
  [[nodiscard]] std::string ToLocalTimeString(const std::string& format) const;
  [[nodiscard]] std::string ToLocalTimeString(const char* format) const;

 private:
  void SetToSeconds(std::int64_t seconds);
  bool SetToFileTicks(std::uint64_t ticks);
  bool SetToSystemFields(const SystemTime& fields);

  std::int64_t seconds_;
  std::tm local_;  // all fields 0 (a day of the month that does not exist) when there is none
};

}  // namespace du

#endif
