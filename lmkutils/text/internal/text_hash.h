// The fast hash with which the symbol table finds its entries.
#ifndef LMKUTILS_TEXT_INTERNAL_TEXT_HASH_H
#define LMKUTILS_TEXT_INTERNAL_TEXT_HASH_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace du::internal {

// Sixteen bytes a step in two lanes, each multiplied and folded; the constants are those of MurmurHash3's
// 64-bit finaliser and the golden ratio. Never stored and never shown, so it may change with any release. The
// ELF hash, which the statistics report by, is five times as slow on 32 bytes and weak in its low bits.
class TextHash {
 public:
  static std::uint32_t Of(const char* text, std::size_t length) noexcept {
    std::uint64_t a = kSeed ^ (length * kGolden);
    std::uint64_t b = kSeed;
    for (; length > 16; length -= 16, text += 16) {
      a = Fold(a, Load<std::uint64_t>(text));
      b = Fold(b, Load<std::uint64_t>(text + 8));
    }
    // The last 0 to 16 bytes, by two readings that may overlap.
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (length >= 8) {
      head = Load<std::uint64_t>(text);
      tail = Load<std::uint64_t>(text + length - 8);
    } else if (length >= 4) {
      head = Load<std::uint32_t>(text);
      tail = Load<std::uint32_t>(text + length - 4);
    } else if (length != 0) {
      head = Load<std::uint8_t>(text);
      tail = Load<std::uint8_t>(text + length / 2) | std::uint64_t{Load<std::uint8_t>(text + length - 1)}
                                                         << 8;
    }
    a = Fold(a, head);
    b = Fold(b, tail);
    return static_cast<std::uint32_t>(((a + std::rotl(b, 23)) * kMixB) >> 32);
  }

 private:
  static constexpr std::uint64_t kSeed = 0x2545F4914F6CDD1Du;
  static constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15u;
  static constexpr std::uint64_t kMixA = 0xFF51AFD7ED558CCDu;
  static constexpr std::uint64_t kMixB = 0xC4CEB9FE1A85EC53u;

  template <class Word>
  static Word Load(const char* from) noexcept {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
  }

  static std::uint64_t Fold(std::uint64_t state, std::uint64_t word) noexcept {
    const std::uint64_t product = (state ^ word) * kMixA;
    return product ^ (product >> 32);
  }
};

}  // namespace du::internal

#endif
