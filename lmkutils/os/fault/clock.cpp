#include "lmkutils/os/fault/clock.h"

#include <atomic>

#include "lmkutils/os/clock.h"

namespace os {

std::int64_t RealCounterFrequency() noexcept;
bool RealReadCounter(std::int64_t& ticks) noexcept;
std::int64_t RealWallSeconds() noexcept;

namespace fault {
namespace {

enum class Face { kReal, kSet, kFails };

std::atomic<Face> counter{Face::kReal};
std::atomic<Face> frequency{Face::kReal};
std::atomic<Face> wall{Face::kReal};
std::atomic<std::int64_t> counterTicks{0};
std::atomic<std::int64_t> wallSeconds{0};

}  // namespace

void PretendClock::SetCounter(std::int64_t ticks) noexcept {
  counterTicks = ticks;
  counter = Face::kSet;
}

void PretendClock::SetWallSeconds(std::int64_t seconds) noexcept {
  wallSeconds = seconds;
  wall = Face::kSet;
}

void PretendClock::FailCounter() noexcept {
  counter = Face::kFails;
}

void PretendClock::FailCounterFrequency() noexcept {
  frequency = Face::kFails;
}

PretendClock::~PretendClock() {
  counter = frequency = wall = Face::kReal;
}

}  // namespace fault

std::int64_t CounterFrequency() noexcept {
  return fault::frequency == fault::Face::kFails ? 0 : RealCounterFrequency();
}

bool ReadCounter(std::int64_t& ticks) noexcept {
  if (fault::counter == fault::Face::kReal) return RealReadCounter(ticks);
  if (fault::counter == fault::Face::kFails) return false;
  ticks = fault::counterTicks;
  return true;
}

std::int64_t WallSeconds() noexcept {
  return fault::wall == fault::Face::kSet ? fault::wallSeconds.load() : RealWallSeconds();
}

}  // namespace os
