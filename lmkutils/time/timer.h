// Elapsed time.
#ifndef LMKUTILS_TIME_TIMER_H
#define LMKUTILS_TIME_TIMER_H

#include <cstdint>

#include "lmkutils/export.h"

namespace du {

// Measures time on the system's performance counter, which goes on while the machine sleeps and is not moved
// by changes of the clock. A plain value; one thread at a time uses an object, the static functions any.
//
// The counter's frequency is read once in a process, by the first timer. Failures throw std::logic_error:
// "Could not get realtime clock frequency." (constructor, GetRawFrequency) or "Could not get realtime clock
// value." (constructor, Reset, MSec, GetRawValue).
class LMK_API Timer {
 public:
  // Starts the timer as Reset does.
  explicit Timer(bool startOfDay = false);

  Timer(const Timer&) noexcept = default;
  Timer& operator=(const Timer&) noexcept = default;

  // False: MSec counts from now. True: it counts from the last multiple of a day (86400 seconds) of counter
  // ticks; that is a day since the counter began, not a calendar day. Returns the counter as read.
  std::int64_t Reset(bool startOfDay = false);

  // Whole milliseconds since the start, rounded towards zero. Right for any age of the timer.
  [[nodiscard]] std::int64_t MSec() const;

  // Ticks of the counter in a second.
  [[nodiscard]] static std::int64_t GetRawFrequency();
  // The counter now, in ticks.
  [[nodiscard]] static std::int64_t GetRawValue();

  // Put the calling thread to sleep for at least that time (0: at most gives up the processor); true when it
  // is over. No value means "for ever".
  static bool SleepMilliSeconds(unsigned milliseconds);
  static bool SleepSeconds(unsigned seconds);

 private:
  std::int64_t start_;  // counter ticks
};

}  // namespace du

#endif
