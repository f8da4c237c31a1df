// Compares texts that are short as a rule.
#ifndef LMKUTILS_TEXT_INTERNAL_SAME_BYTES_H
#define LMKUTILS_TEXT_INTERNAL_SAME_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace du::internal {

template <class Word>
Word WordAt(const char* text) noexcept {
  Word word;
  std::memcpy(&word, text, sizeof word);
  return word;
}

// The first and the last word, which may overlap: all of a text of one to two words.
template <class Word>
bool SameEnds(const char* a, const char* b, std::size_t length) noexcept {
  const std::size_t last = length - sizeof(Word);
  return WordAt<Word>(a) == WordAt<Word>(b) && WordAt<Word>(a + last) == WordAt<Word>(b + last);
}

inline constexpr std::size_t kShortText = 32;

// Whether `length` bytes are the same, at most kShortText. They are compared in place, by comparisons of a
// constant width, for which compilers call nothing: the call alone is a sixth of a symbol's look-up.
inline bool SameShortBytes(const char* a, const char* b, std::size_t length) noexcept {
  if (length >= 16) {
    const std::size_t last = length - 16;
    return SameEnds<std::uint64_t>(a, b, 16) && SameEnds<std::uint64_t>(a + last, b + last, 16);
  }
  if (length >= 8) return SameEnds<std::uint64_t>(a, b, length);
  if (length >= 4) return SameEnds<std::uint32_t>(a, b, length);
  if (length >= 2) return SameEnds<std::uint16_t>(a, b, length);
  return length == 0 || *a == *b;
}

inline bool SameBytes(const char* a, const char* b, std::size_t length) noexcept {
  return length > kShortText ? std::memcmp(a, b, length) == 0 : SameShortBytes(a, b, length);
}

}  // namespace du::internal

#endif
