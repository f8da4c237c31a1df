#include "tools/lmkutil/display_width.h"

#include <algorithm>
#include <array>

#include "lmkutils/text/encoding.h"

namespace lmkutil {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr std::array kWide{
    Range{0x1100, 0x115F},    // Hangul, leading consonants
    Range{0x2E80, 0x303E},    // radicals, punctuation
    Range{0x3041, 0xA4CF},    // kana, bopomofo, ideographs, Yi
    Range{0xA960, 0xA97F},    // Hangul, older letters
    Range{0xAC00, 0xD7A3},    // Hangul syllables
    Range{0xF900, 0xFAFF},    // compatibility ideographs
    Range{0xFE30, 0xFE6F},    // vertical and small forms
    Range{0xFF01, 0xFF60},    // full-width letters
    Range{0xFFE0, 0xFFE6},    // full-width signs
    Range{0x1F300, 0x1F64F},  // pictures
    Range{0x1F900, 0x1F9FF},  // more of them
    Range{0x20000, 0x3FFFD},  // rarer ideographs
};
constexpr std::array kCombining{
    Range{0x0300, 0x036F},  // accents
    Range{0x200B, 0x200F},  // joiners, directions
    Range{0x20D0, 0x20FF},  // marks for symbols
    Range{0x3099, 0x309A},  // voiced kana
    Range{0xFE00, 0xFE0F},  // variants
    Range{0xFE20, 0xFE2F},  // half marks
};

template <std::size_t N>
bool IsIn(const std::array<Range, N>& ranges, char32_t c) {
  return std::any_of(ranges.begin(), ranges.end(), [c](Range r) { return r.first <= c && c <= r.last; });
}

}  // namespace

std::size_t DisplayWidth(std::string_view text) {
  constexpr char32_t kFirstSpecial = 0x0300;
  std::size_t width = 0;
  for (const char32_t c : du::ToUtf32(text)) {
    if (c < kFirstSpecial) {
      ++width;
    } else if (!IsIn(kCombining, c)) {
      width += IsIn(kWide, c) ? 2U : 1U;
    }
  }
  return width;
}

}  // namespace lmkutil
