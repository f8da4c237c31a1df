// A deadline that comes round again and again.
#ifndef LMKUTILS_TIME_INTERVAL_ALARM_H
#define LMKUTILS_TIME_INTERVAL_ALARM_H

#include <cstdint>

#include "lmkutils/export.h"
#include "lmkutils/time/timer.h"

namespace du {

// A timer that says when its next alarm is due. Nobody is called: the owner asks. All times are milliseconds
// on the timer's own scale, 0 when it was started; Reset shifts that scale and leaves the alarm's number as
// it is. Times beyond the range of 64 bits are held at its end. One thread at a time uses an object; what
// throws is what Timer throws.
class LMK_API IntervalAlarm : public Timer {
 public:
  // Starts the timer; the first alarm is one interval away. An interval of 0 or less makes an inactive alarm.
  explicit IntervalAlarm(std::int64_t intervalMs);

  // A new interval, the next alarm one interval from now; the timer runs on. Returns the time now, or 0 when
  // an interval of 0 or less made the alarm inactive.
  std::int64_t SetAlarmInterval(std::int64_t intervalMs);
  // The same with the next alarm at `firstAlarm`, or if that is not after now, at the first whole number of
  // intervals from it that is.
  std::int64_t SetAlarmInterval(std::int64_t intervalMs, std::int64_t firstAlarm);

  [[nodiscard]] bool IsActive() const noexcept { return interval_ > 0; }
  [[nodiscard]] std::int64_t TimeNow() const { return MSec(); }

  // Milliseconds until the next alarm; 0 when one is due: that answer is given once, however many intervals
  // have gone by unasked, and the next alarm is the first that lies after now. -1 when inactive.
  std::int64_t TimeTillNextAlarm();

 private:
  void AdvanceBeyond(std::int64_t now) noexcept;

  std::int64_t nextAlarm_;
  std::int64_t interval_;
};

}  // namespace du

#endif
