#ifndef LMKUTILS_BENCH_BINARY_SWAP_H
#define LMKUTILS_BENCH_BINARY_SWAP_H

#include <bit>
#include <cstddef>
#include <cstdint>

namespace bench {

inline int Swapped(int value) {
  return std::bit_cast<int>(__builtin_bswap32(std::bit_cast<std::uint32_t>(value)));
}
inline double Swapped(double value) {
  return std::bit_cast<double>(__builtin_bswap64(std::bit_cast<std::uint64_t>(value)));
}

}  // namespace bench

#endif
