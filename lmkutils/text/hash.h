// The hash functions of the library's hash maps.
#ifndef LMKUTILS_TEXT_HASH_H
#define LMKUTILS_TEXT_HASH_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "lmkutils/export.h"

namespace du {

// The ELF hash of the System V ABI's symbol tables, over bytes taken as signed: bytes from 0x80 enter as
// negative numbers, so results differ from the ABI's for non-ASCII text. The same on every target.
// The first form reads up to the NUL and answers 0 for null, the second reads all bytes, NULs included.
[[nodiscard]] LMK_API std::uint32_t ElfHash(const char* text) noexcept;
[[nodiscard]] LMK_API std::uint32_t ElfHash(const char* bytes, std::size_t count) noexcept;

// The default hash of du::HashMap: the ELF hash for texts, the value itself for integers, enumerations and
// pointers (bucket counts are primes, which spread those). du::Symbol's stands in its own header; other key
// types specialise it. Any thread.
template <class T>
struct hash {
  static_assert(std::is_integral_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>,
                "specialise du::hash for this key type");
  std::size_t operator()(T value) const noexcept {
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<std::size_t>(value);
    } else {
      return static_cast<std::size_t>(value);
    }
  }
};

// The text, not the pointer.
template <>
struct hash<const char*> {
  std::size_t operator()(const char* text) const noexcept { return ElfHash(text); }
};

// All bytes of the string.
template <>
struct hash<std::string> {
  using is_transparent = void;
  std::size_t operator()(const std::string& text) const noexcept { return ElfHash(text.data(), text.size()); }
  std::size_t operator()(std::string_view text) const noexcept { return ElfHash(text.data(), text.size()); }
  std::size_t operator()(const char* text) const noexcept { return ElfHash(text); }
};

}  // namespace du

#endif
