#include "lmkutils/text/hash.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "lmkutils/text/hash_sizing.h"
#include "lmkutils/text/internal/text_hash.h"
#include "lmkutils/text/symbol.h"

namespace {

TEST(HashSizing, GivesTheFirstPrimeAbove) {
  const struct {
    unsigned n, prime;
  } cases[] = {{0, 53},
               {52, 53},
               {53, 97},
               {100, 193},
               {2000, 3079},
               {1610612740, 1610612741},
               {1610612741, 3221225473},
               {4294967290, 4294967291},
               {4294967291, 4294967291},
               {4294967295, 4294967291}};
  for (const auto& [n, prime] : cases) EXPECT_EQ(prime, du::HashNextPrime(n)) << n;
  EXPECT_EQ(4294967291u, du::MaxBucketSize());
  unsigned count = 0;
  for (unsigned n = 0; n != du::MaxBucketSize(); n = du::HashNextPrime(n)) {
    ++count;
    EXPECT_GT(du::HashNextPrime(n), n);
  }
  EXPECT_EQ(28u, count);
}

// The published algorithm, over signed bytes, in wide arithmetic.
std::uint32_t ReferenceElf(const std::string& text) {
  std::int64_t h = 0;
  for (const char c : text) {
    h = ((h << 4) + static_cast<signed char>(c)) & 0xFFFFFFFF;
    const std::int64_t g = h & 0xF0000000;
    if (g != 0) h = (h ^ (g >> 24)) ^ g;
  }
  return static_cast<std::uint32_t>(h);
}

TEST(Hash, IsTheElfHashOverSignedBytes) {
  EXPECT_EQ(0x61u, du::ElfHash("a"));
  EXPECT_EQ(0x077905a6u, du::ElfHash("printf"));
  EXPECT_EQ(0x0fffff19u, du::ElfHash("\xE9"));  // -23 folded, where unsigned bytes would give 0xE9
  EXPECT_EQ(0u, du::ElfHash(nullptr));
  EXPECT_EQ(0u, du::ElfHash(""));
  std::string text;
  for (int i = 0; i < 300; ++i) {
    EXPECT_EQ(ReferenceElf(text), du::ElfHash(text.data(), text.size()));
    text += static_cast<char>(i * 37);
  }
}

TEST(Hash, StringsHashAllTheirBytesAndSymbolsTheirText) {
  const std::string cut("ab\0c", 4);
  EXPECT_EQ(ReferenceElf(cut), du::hash<std::string>()(cut));
  EXPECT_NE(du::hash<std::string>()(cut), du::hash<std::string>()("ab"));
  EXPECT_EQ(du::ElfHash("ab"), du::hash<du::Symbol>()(du::Symbol(cut)));
  EXPECT_EQ(0u, du::hash<du::Symbol>()(du::Symbol::EMPTY));
  const du::Symbol symbol("a longer text with \xC3\xA4");
  for (int i = 0; i < 2; ++i) EXPECT_EQ(du::ElfHash(symbol.c_str()), du::hash<du::Symbol>()(symbol));
}

// The low bits pick the slot: they must differ where texts differ in one byte at any place, or in their
// length.
TEST(TextHash, SpreadsSimilarTexts) {
  for (std::size_t length = 1; length <= 40; ++length) {
    std::set<std::uint32_t> hashes;
    std::set<std::uint32_t> lowBits;
    unsigned texts = 0;
    for (std::size_t at = 0; at < length; ++at) {
      for (char c = 'a'; c <= 'z'; ++c, ++texts) {
        std::string text(length, '.');
        text[at] = c;
        const std::uint32_t hash = du::internal::TextHash::Of(text.data(), length);
        hashes.insert(hash);
        lowBits.insert(hash & 0xFFF);
      }
    }
    EXPECT_EQ(texts, hashes.size()) << length;
    EXPECT_GT(lowBits.size(), texts * 8 / 10) << length;
  }
  EXPECT_NE(du::internal::TextHash::Of("aaaa", 3), du::internal::TextHash::Of("aaaa", 4));
}

}  // namespace
