#include "lmkutils/os/clock.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>

#include <time.h>
#include <wchar.h>
#include <windows.h>

#include "lmkutils/os/win32/environment_lock.h"
#include "lmkutils/os/win32/wide.h"

namespace os {
namespace {

// The run-time's calendar ends with 3000-12-31 23:59:59 UTC; where exactly it begins differs by version, none
// refuses 1970.
constexpr CalendarRange kCalendar{0, 32'535'215'999};

std::atomic<bool> zoneIsRead{false};

// The run-time reads TZ at its first conversion and never again. That one is made to happen under the
// environment's lock; the others need no lock, hence cannot wait for one whose holder was killed when the
// process ended.
void EnsureZone() noexcept {
  if (zoneIsRead.load(std::memory_order_acquire)) return;
  const win32::EnvironmentLock lock;
  if (!zoneIsRead.load(std::memory_order_relaxed)) _tzset();
  zoneIsRead.store(true, std::memory_order_release);
}

}  // namespace

std::int64_t CounterFrequency() noexcept {
  LARGE_INTEGER frequency;
  return QueryPerformanceFrequency(&frequency) != 0 ? frequency.QuadPart : 0;
}

bool ReadCounter(std::int64_t& ticks) noexcept {
  LARGE_INTEGER now;
  if (QueryPerformanceCounter(&now) == 0) return false;
  ticks = now.QuadPart;
  return true;
}

std::int64_t WallSeconds() noexcept {
  return _time64(nullptr);
}

void SleepMilliseconds(std::uint64_t milliseconds) noexcept {
  do {
    constexpr std::uint64_t kLongest = INFINITE - 1;  // INFINITE itself would never return
    const std::uint64_t part = std::min(milliseconds, kLongest);
    Sleep(static_cast<DWORD>(part));
    milliseconds -= part;
  } while (milliseconds != 0);
}

CalendarRange GetCalendarRange() noexcept {
  return kCalendar;
}

bool LocalCalendar(std::int64_t seconds, std::tm& fields) noexcept {
  EnsureZone();
  const __time64_t instant = seconds;
  return seconds >= kCalendar.first && seconds <= kCalendar.last && _localtime64_s(&fields, &instant) == 0;
}

// By way of the wide form: the narrow one speaks the system's code page, in zone names above all.
std::size_t FormatCalendarItem(char specifier, const std::tm& fields, char* out, std::size_t size) noexcept {
  const win32::EnvironmentLock lock;  // some versions look at TZ for every zone name
  const wchar_t format[] = {L'%', static_cast<wchar_t>(specifier), L'\0'};
  wchar_t wide[256];
  const std::size_t length = wcsftime(wide, std::size(wide), format, &fields);
  std::string narrow;
  if (win32::Narrow({wide, length}, narrow) != 0 || narrow.size() > size) return 0;
  std::memcpy(out, narrow.data(), narrow.size());
  return narrow.size();
}

}  // namespace os
