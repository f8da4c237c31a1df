// Numbers with their bytes in reverse order, as files and blocks of the other byte order hold them.
#ifndef LMKUTILS_FILES_BYTE_ORDER_H
#define LMKUTILS_FILES_BYTE_ORDER_H

#include <cstddef>
#include <cstdint>

namespace du::internal {

constexpr std::uint8_t ByteSwapped(std::uint8_t value) noexcept {
  return value;
}
constexpr std::uint16_t ByteSwapped(std::uint16_t value) noexcept {
  return static_cast<std::uint16_t>((value << 8) | (value >> 8));
}
constexpr std::uint32_t ByteSwapped(std::uint32_t value) noexcept {
  return (value << 24) | ((value & 0xFF00u) << 8) | ((value >> 8) & 0xFF00u) | (value >> 24);
}
constexpr std::uint64_t ByteSwapped(std::uint64_t value) noexcept {
  return (std::uint64_t{ByteSwapped(static_cast<std::uint32_t>(value))} << 32) |
         ByteSwapped(static_cast<std::uint32_t>(value >> 32));
}

// Copies `count` numbers of the width of Word (std::uint16_t, std::uint32_t or std::uint64_t), the bytes of
// each reversed, at the speed of a plain copy. Neither place needs to be aligned; they may be the same, but
// not overlap otherwise. A float or double goes through here as its bytes: loaded into a register of the x87,
// a signalling NaN would change.
template <class Word>
void CopyByteSwapped(void* target, const void* source, std::size_t count) noexcept;

extern template void CopyByteSwapped<std::uint16_t>(void*, const void*, std::size_t) noexcept;
extern template void CopyByteSwapped<std::uint32_t>(void*, const void*, std::size_t) noexcept;
extern template void CopyByteSwapped<std::uint64_t>(void*, const void*, std::size_t) noexcept;

}  // namespace du::internal

#endif
