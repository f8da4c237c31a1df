#include "lmkutils/os/clock.h"

#include <cstdint>

#include <errno.h>
#include <time.h>

#include "lmkutils/os/posix/environment_lock.h"

namespace os {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
// Years as far as an int of std::tm goes. The run-time's own check remains the last word.
constexpr std::int64_t kSecondsPerYear = 31'556'952;
constexpr std::int64_t kYears = 2'147'000'000;

}  // namespace

std::int64_t CounterFrequency() noexcept {
  return kNanosecondsPerSecond;
}

// The boot clock, not the monotonic one: it counts the time that the machine sleeps, as the counter of the
// other target does. Both are read without entering the kernel, at the same cost (23 ns).
bool ReadCounter(std::int64_t& ticks) noexcept {
  timespec now;
  if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) return false;
  ticks = std::int64_t{now.tv_sec} * kNanosecondsPerSecond + now.tv_nsec;
  return true;
}

std::int64_t WallSeconds() noexcept {
  return time(nullptr);
}

void SleepMilliseconds(std::uint64_t milliseconds) noexcept {
  timespec left{.tv_sec = static_cast<time_t>(milliseconds / 1000),
                .tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
  }
}

CalendarRange GetCalendarRange() noexcept {
  return {-kYears * kSecondsPerYear, kYears * kSecondsPerYear};
}

bool LocalCalendar(std::int64_t seconds, std::tm& fields) noexcept {
  const posix::EnvironmentLock lock;
  const time_t instant = seconds;
  return localtime_r(&instant, &fields) != nullptr;
}

std::size_t FormatCalendarItem(char specifier, const std::tm& fields, char* out, std::size_t size) noexcept {
  const posix::EnvironmentLock lock;  // strftime may look at TZ
  const char format[] = {'%', specifier, '\0'};
  return strftime(out, size, format, &fields);
}

}  // namespace os
