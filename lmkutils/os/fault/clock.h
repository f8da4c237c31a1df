// What tests tell the clocks. The settings hold until the next call, in the whole process.
#ifndef LMKUTILS_OS_FAULT_CLOCK_H
#define LMKUTILS_OS_FAULT_CLOCK_H

#include <cstdint>

namespace os::fault {

// The counter stands still at `ticks` of a counter of CounterFrequency().
void SetCounter(std::int64_t ticks) noexcept;
// The wall clock stands still.
void SetWallSeconds(std::int64_t seconds) noexcept;
// The system refuses to read the counter, or to tell its frequency.
void FailCounter() noexcept;
void FailCounterFrequency() noexcept;
// All clocks are the system's again.
void ReleaseClocks() noexcept;

}  // namespace os::fault

#endif
