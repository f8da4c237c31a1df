// Compares texts that are short as a rule.
#ifndef LMKUTILS_TEXT_INTERNAL_SAME_BYTES_H
#define LMKUTILS_TEXT_INTERNAL_SAME_BYTES_H

#include <cstddef>
#include <cstring>

namespace du::internal {

// The first and the last `kWidth` bytes, which may overlap: all of a text of kWidth to 2 * kWidth bytes.
template <std::size_t kWidth>
bool SameEnds(const char* a, const char* b, std::size_t length) noexcept {
  const std::size_t last = length - kWidth;
  return std::memcmp(a, b, kWidth) == 0 && std::memcmp(a + last, b + last, kWidth) == 0;
}

// Whether `length` bytes are the same. Up to 32 of them are compared in place, by comparisons of a constant
// width, for which compilers call nothing: the call alone is a sixth of a symbol's look-up.
inline bool SameBytes(const char* a, const char* b, std::size_t length) noexcept {
  if (length > 32) return std::memcmp(a, b, length) == 0;
  if (length >= 16) return SameEnds<16>(a, b, length);
  if (length >= 8) return SameEnds<8>(a, b, length);
  if (length >= 4) return SameEnds<4>(a, b, length);
  if (length >= 2) return SameEnds<2>(a, b, length);
  return length == 0 || *a == *b;
}

}  // namespace du::internal

#endif
