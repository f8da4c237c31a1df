// Hashes of text pointers.
#ifndef LMKUTILS_DATA_INTERNAL_POINTER_HASH_H
#define LMKUTILS_DATA_INTERNAL_POINTER_HASH_H

#include <cstddef>
#include <cstdint>

namespace du::internal {

// `bits` bits that depend on all of the pointer: Fibonacci hashing (D. E. Knuth, The Art of Computer
// Programming, volume 3, section 6.4).
inline std::size_t HashPointer(std::uintptr_t pointer, unsigned bits) noexcept {
  constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15U;
  return bits == 0 ? 0 : static_cast<std::size_t>((pointer * kGoldenRatio) >> (64 - bits));
}

}  // namespace du::internal

#endif
