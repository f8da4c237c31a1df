#include "lmkutils/time/interval_alarm.h"

#include <limits>

namespace du {
namespace {

// `step` is not negative.
std::int64_t AddSaturated(std::int64_t time, std::int64_t step) noexcept {
  constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();
  return time > kEnd - step ? kEnd : time + step;
}

}  // namespace

IntervalAlarm::IntervalAlarm(std::int64_t intervalMs) : Timer(false), nextAlarm_(0), interval_(0) {
  SetAlarmInterval(intervalMs);
}

std::int64_t IntervalAlarm::SetAlarmInterval(std::int64_t intervalMs) {
  if (intervalMs <= 0) {
    nextAlarm_ = interval_ = 0;
    return 0;
  }
  const std::int64_t now = MSec();
  interval_ = intervalMs;
  nextAlarm_ = AddSaturated(now, intervalMs);
  return now;
}

std::int64_t IntervalAlarm::SetAlarmInterval(std::int64_t intervalMs, std::int64_t firstAlarm) {
  const std::int64_t now = SetAlarmInterval(intervalMs);
  if (IsActive()) {
    nextAlarm_ = firstAlarm;
    AdvanceBeyond(now);
  }
  return now;
}

std::int64_t IntervalAlarm::TimeTillNextAlarm() {
  if (!IsActive()) return -1;
  const std::int64_t now = MSec();
  if (nextAlarm_ > now) return nextAlarm_ - now;
  AdvanceBeyond(now);
  return 0;
}

// By one division: a loop would take for ever when the first alarm lies far in the past.
void IntervalAlarm::AdvanceBeyond(std::int64_t now) noexcept {
  if (nextAlarm_ > now) return;
  const std::uint64_t late = static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(nextAlarm_);
  const auto sinceLast = static_cast<std::int64_t>(late % static_cast<std::uint64_t>(interval_));
  nextAlarm_ = AddSaturated(now, interval_ - sinceLast);
}

}  // namespace du
