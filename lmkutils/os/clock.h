// Clocks and the local calendar, as the system has them.
#ifndef LMKUTILS_OS_CLOCK_H
#define LMKUTILS_OS_CLOCK_H

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace os {

// Ticks per second of the performance counter; 0 when the system has none.
std::int64_t CounterFrequency() noexcept;

// The performance counter: it never goes back, is not moved by changes of the wall clock, and goes on while
// the machine sleeps. False, and `ticks` unchanged, when the system refuses.
bool ReadCounter(std::int64_t& ticks) noexcept;

// Whole seconds since 1970-01-01 00:00:00 UTC.
std::int64_t WallSeconds() noexcept;

// Puts the calling thread to sleep for at least that long, interruptions notwithstanding.
void SleepMilliseconds(std::uint64_t milliseconds) noexcept;

// The seconds since 1970 that the run-time's calendar takes, both ends included.
struct CalendarRange {
  std::int64_t first;
  std::int64_t last;
};
CalendarRange GetCalendarRange() noexcept;

// The local calendar form of an instant, by the zone of the process. False when the run-time refuses.
// The zone is read from the environment: this may take the environment's lock.
bool LocalCalendar(std::int64_t seconds, std::tm& fields) noexcept;

// What strftime gives for "%" and `specifier` (one of a A b B c p x X Z, which depend on locale and zone), in
// UTF-8. The characters written, no terminator among them; 0 when `size` does not suffice.
std::size_t FormatCalendarItem(char specifier, const std::tm& fields, char* out, std::size_t size) noexcept;

}  // namespace os

#endif
