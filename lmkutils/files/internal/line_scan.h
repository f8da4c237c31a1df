// Where a line ends.
#ifndef LMKUTILS_FILES_INTERNAL_LINE_SCAN_H
#define LMKUTILS_FILES_INTERNAL_LINE_SCAN_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace du::internal {

// Each returns the place of the first line feed, or `end`.

inline const char* FindLineFeed(const char* begin, const char* end) noexcept {
  const void* const found = std::memchr(begin, '\n', static_cast<std::size_t>(end - begin));
  return found == nullptr ? end : static_cast<const char*>(found);
}

// `lineFeed` is the unit U+000A as it is stored, its bytes in reverse where the text's order is not the
// machine's. Whole units lie between the two places. Four units are looked at in one step: no function of the
// run-time library finds a unit of two bytes on all targets, and one that finds bytes stops at each character
// with a byte 0A, as all of Gujarati has.
inline const char* FindLineFeed16(const char* begin, const char* end, std::uint16_t lineFeed) noexcept {
  constexpr std::uint64_t kOnes = 0x0001000100010001;
  const std::uint64_t pattern = kOnes * lineFeed;
  for (; end - begin >= 8; begin += 8) {
    std::uint64_t units;
    std::memcpy(&units, begin, sizeof(units));
    units ^= pattern;
    // The highest bit of each unit that is 0 now. A borrow reaches units behind the first such one only.
    const std::uint64_t zeros = (units - kOnes) & ~units & (kOnes << 15);
    if (zeros != 0) return begin + std::countr_zero(zeros) / 16 * 2;
  }
  for (; begin != end; begin += 2) {
    std::uint16_t unit;
    std::memcpy(&unit, begin, sizeof(unit));
    if (unit == lineFeed) break;
  }
  return begin;
}

}  // namespace du::internal

#endif
