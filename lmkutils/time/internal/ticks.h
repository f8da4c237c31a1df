// Counter ticks as milliseconds.
#ifndef LMKUTILS_TIME_INTERNAL_TICKS_H
#define LMKUTILS_TIME_INTERNAL_TICKS_H

#include <cstdint>

namespace du::internal {

// ticks * 1000 / frequency, rounded towards zero, without the product, which overflows after 106 days at
// 1 GHz. `frequency` is positive.
constexpr std::int64_t TicksToMilliseconds(std::int64_t ticks, std::int64_t frequency) noexcept {
  // The two frequencies that systems really have: division by a constant costs a tenth.
  if (frequency == 1'000'000'000) return ticks / 1'000'000;
  if (frequency == 10'000'000) return ticks / 10'000;
  return ticks / frequency * 1000 + ticks % frequency * 1000 / frequency;
}

}  // namespace du::internal

#endif
