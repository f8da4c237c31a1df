#include "lmkutils/text/hash_sizing.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace du {
namespace {

constexpr std::array<std::uint32_t, 28> kPrimes = {
    53,        97,        193,       389,       769,        1543,       3079,
    6151,      12289,     24593,     49157,     98317,      196613,     393241,
    786433,    1572869,   3145739,   6291469,   12582917,   25165843,   50331653,
    100663319, 201326611, 402653189, 805306457, 1610612741, 3221225473, 4294967291};

}  // namespace

unsigned HashNextPrime(unsigned n) noexcept {
  const auto above = std::upper_bound(kPrimes.begin(), kPrimes.end(), n);
  return above == kPrimes.end() ? kPrimes.back() : *above;
}

unsigned MaxBucketSize() noexcept {
  return kPrimes.back();
}

}  // namespace du
