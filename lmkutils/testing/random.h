// Repeatable random numbers for tests.
#ifndef LMKUTILS_TESTING_RANDOM_H
#define LMKUTILS_TESTING_RANDOM_H

#include <cstdint>

namespace lmktest {

// The same 32-bit numbers on every target for the same seed (G. Marsaglia, Xorshift RNGs, 2003).
class Random {
 public:
  using result_type = std::uint32_t;
  explicit Random(std::uint32_t seed) noexcept : state_(seed * 2654435769U + 1) {}
  static constexpr result_type min() noexcept { return 0; }
  static constexpr result_type max() noexcept { return 0xFFFFFFFFU; }
  result_type operator()() noexcept {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    return state_ ^= state_ << 5;
  }

 private:
  std::uint32_t state_;
};

}  // namespace lmktest

#endif
