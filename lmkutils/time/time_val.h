// Milliseconds that know how they are to be printed.
#ifndef LMKUTILS_TIME_TIME_VAL_H
#define LMKUTILS_TIME_TIME_VAL_H

#include <cstdint>
#include <iosfwd>
#include <string>

#include "lmkutils/export.h"

namespace du {

// Plain values; any thread may use them. Printing gives the same text whatever the stream's locale, base,
// precision, width and fill are, and leaves all of these as they are.

// A duration, printed as "26:3:09.120": hours and minutes unpadded, "-" before a negative one.
class LMK_API TimeVal {
 public:
  explicit TimeVal(std::int64_t milliseconds) noexcept : milliseconds_(milliseconds) {}
  [[nodiscard]] std::int64_t GetMilliSeconds() const noexcept { return milliseconds_; }
  // The text that printing gives.
  [[nodiscard]] std::string GetString() const;

 private:
  std::int64_t milliseconds_;
};

// An instant, in milliseconds since 1970-01-01 UTC, printed in the local calendar as
// "9:5:07.042  17 Nov 2026": hour and minute unpadded, the month in English. An instant that the run-time's
// calendar refuses (Time::IsTimeValid) is printed "0:0:00.000  0 <Bad month> 0".
//
// The local zone is the one in force when the process first asked for a local time; a later change of the
// variable TZ may go unnoticed.
class LMK_API LocalTimeVal {
 public:
  explicit LocalTimeVal(std::int64_t milliseconds) noexcept : milliseconds_(milliseconds) {}
  [[nodiscard]] std::int64_t GetMilliSeconds() const noexcept { return milliseconds_; }
  // The text that printing gives.
  [[nodiscard]] std::string GetString() const;
  // The date alone, "17 Nov 2026"; "0 <Bad month> 0" when refused.
  [[nodiscard]] std::string GetDateString() const;
  // The date alone, "2026-11-17"; "0000-00-00" when refused.
  [[nodiscard]] std::string GetDateStringShort() const;

 private:
  std::int64_t milliseconds_;
};

// As LocalTimeVal, printed in the UTC calendar.
class LMK_API UtcTimeVal {
 public:
  explicit UtcTimeVal(std::int64_t milliseconds) noexcept : milliseconds_(milliseconds) {}
  [[nodiscard]] std::int64_t GetMilliSeconds() const noexcept { return milliseconds_; }
  // The text that printing gives.
  [[nodiscard]] std::string GetString() const;

 private:
  std::int64_t milliseconds_;
};

LMK_API std::ostream& operator<<(std::ostream& stream, const TimeVal& duration);
LMK_API std::ostream& operator<<(std::ostream& stream, const LocalTimeVal& instant);
LMK_API std::ostream& operator<<(std::ostream& stream, const UtcTimeVal& instant);

}  // namespace du

#endif
