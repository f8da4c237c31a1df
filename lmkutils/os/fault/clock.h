// For tests: clocks that stand where the test puts them, or fail.
#ifndef LMKUTILS_OS_FAULT_CLOCK_H
#define LMKUTILS_OS_FAULT_CLOCK_H

#include <cstdint>

namespace os::fault {

// While it lives, the clocks that were set or told to fail do so; the others are the system's. One at a time;
// any thread may read the clocks meanwhile.
class PretendClock {
 public:
  PretendClock() = default;
  PretendClock(const PretendClock&) = delete;
  PretendClock& operator=(const PretendClock&) = delete;
  ~PretendClock();

  // The counter stands still at `ticks`, of CounterFrequency() a second.
  void SetCounter(std::int64_t ticks) noexcept;
  // The wall clock stands still.
  void SetWallSeconds(std::int64_t seconds) noexcept;
  void FailCounter() noexcept;
  void FailCounterFrequency() noexcept;
};

}  // namespace os::fault

#endif
