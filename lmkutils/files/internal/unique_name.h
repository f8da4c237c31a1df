// Names that nobody else makes at the same moment.
#ifndef LMKUTILS_FILES_INTERNAL_UNIQUE_NAME_H
#define LMKUTILS_FILES_INTERNAL_UNIQUE_NAME_H

#include <cstdint>
#include <string>
#include <string_view>

namespace du::internal {

inline constexpr int kAttemptsAtUniqueName = 32;

// One step of the 64-bit form of the PJW hash, over a byte as a signed value.
constexpr std::uint64_t MixByte(std::uint64_t hash, signed char byte) noexcept {
  hash = (hash << 4) + static_cast<std::uint64_t>(std::int64_t{byte});
  const std::uint64_t top = hash & 0xF000000000000000U;
  return (hash & ~top) ^ top >> 56;
}

// The prefix and 13 characters, made of host, process, thread and the high-resolution timer. Traced. The
// name may exist all the same: making the file is the test. Throws std::bad_alloc.
std::string MakeUniqueName(std::string_view prefix);

}  // namespace du::internal

#endif
