#include "lmkutils/time/timer.h"

#include <atomic>
#include <stdexcept>

#include "lmkutils/os/clock.h"
#include "lmkutils/time/internal/calendar.h"
#include "lmkutils/time/internal/ticks.h"

namespace du {
namespace {

// Ticks per second; 0 until it is read. Two threads that read it at once store the same.
constinit std::atomic<std::int64_t> counterFrequency{0};

std::int64_t ReadFrequency() {
  const std::int64_t frequency = os::CounterFrequency();
  if (frequency <= 0) throw std::logic_error("Could not get realtime clock frequency.");
  counterFrequency.store(frequency, std::memory_order_relaxed);
  return frequency;
}

}  // namespace

Timer::Timer(bool startOfDay) : start_(0) {
  static_cast<void>(GetRawFrequency());
  Reset(startOfDay);
}

std::int64_t Timer::Reset(bool startOfDay) {
  const std::int64_t now = GetRawValue();
  start_ = startOfDay ? now - now % (GetRawFrequency() * internal::kSecondsPerDay) : now;
  return now;
}

std::int64_t Timer::MSec() const {
  return internal::TicksToMilliseconds(GetRawValue() - start_,
                                       counterFrequency.load(std::memory_order_relaxed));
}

std::int64_t Timer::GetRawFrequency() {
  const std::int64_t frequency = counterFrequency.load(std::memory_order_relaxed);
  return frequency != 0 ? frequency : ReadFrequency();
}

std::int64_t Timer::GetRawValue() {
  std::int64_t ticks = 0;
  if (!os::ReadCounter(ticks)) throw std::logic_error("Could not get realtime clock value.");
  return ticks;
}

bool Timer::SleepMilliSeconds(unsigned milliseconds) {
  os::SleepMilliseconds(milliseconds);
  return true;
}

bool Timer::SleepSeconds(unsigned seconds) {
  os::SleepMilliseconds(std::uint64_t{seconds} * 1000);
  return true;
}

}  // namespace du
