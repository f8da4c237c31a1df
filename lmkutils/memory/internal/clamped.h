// How byte counts leave the library: 32 bits, the maximum standing for more.
#ifndef LMKUTILS_MEMORY_INTERNAL_CLAMPED_H
#define LMKUTILS_MEMORY_INTERNAL_CLAMPED_H

#include <cstdint>
#include <limits>

namespace du::internal {

constexpr unsigned Clamped(std::uint64_t value) noexcept {
  constexpr unsigned kMax = std::numeric_limits<unsigned>::max();
  return value < kMax ? static_cast<unsigned>(value) : kMax;
}

}  // namespace du::internal

#endif
