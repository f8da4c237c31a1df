#include "lmkutils/files/byte_order.h"

#include <cstring>

namespace du::internal {

// A number is taken apart into units of two bytes, which change places, and the bytes of each are swapped:
// both are single instructions on whole vectors in SSE2, which all our x86 targets have, so that the compiler
// makes vector code of this loop. The operation that swaps all bytes of a number at once exists for vectors
// only from SSSE3 on.
template <class Word>
void CopyByteSwapped(void* target, const void* source, std::size_t count) noexcept {
  constexpr std::size_t kUnits = sizeof(Word) / 2;
  auto* to = static_cast<unsigned char*>(target);
  const auto* from = static_cast<const unsigned char*>(source);
  for (std::size_t i = 0; i < count; ++i, to += sizeof(Word), from += sizeof(Word)) {
    std::uint16_t units[kUnits];
    for (std::size_t unit = 0; unit < kUnits; ++unit) {
      std::memcpy(&units[unit], from + 2 * (kUnits - 1 - unit), 2);
      units[unit] = ByteSwapped(units[unit]);
    }
    for (std::size_t unit = 0; unit < kUnits; ++unit) std::memcpy(to + 2 * unit, &units[unit], 2);
  }
}

template void CopyByteSwapped<std::uint16_t>(void*, const void*, std::size_t) noexcept;
template void CopyByteSwapped<std::uint32_t>(void*, const void*, std::size_t) noexcept;
template void CopyByteSwapped<std::uint64_t>(void*, const void*, std::size_t) noexcept;

}  // namespace du::internal
