// The comparison of attribute values with the pattern of a query.
#ifndef LMKUTILS_DATA_INTERNAL_VALUE_MATCHER_H
#define LMKUTILS_DATA_INTERNAL_VALUE_MATCHER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lmkutils/text/regex.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {

// The only text that a pattern matches, when it says so plainly: no character of it has a meaning of its own,
// or a backslash stands before those that have.
std::optional<std::string> LiteralOf(std::string_view pattern);

// Which values were found to match. Interned texts are different when their pointers are, so a pointer stands
// for a text: a hash table of them, with linear probing.
class VerdictMemo {
 public:
  enum class Verdict : std::uintptr_t { kNoMatch = 0, kMatch = 1, kUnknown = 2 };

  VerdictMemo();

  Verdict Find(const char* text) const noexcept;
  // A text that was not found. Throws std::bad_alloc.
  void Add(const char* text, bool matches);

  // The number of texts.
  std::size_t Size() const noexcept { return used_; }

 private:
  std::size_t SlotOf(std::uintptr_t key) const noexcept;
  void Grow();

  std::vector<std::uintptr_t> slots_;  // the pointer with the verdict in its lowest bit; 0 when free
  unsigned bits_;                      // 2 to their power is the number of slots
  std::size_t used_ = 0;
};

// One comparison of a query. Compiling takes place when it is made: throws std::runtime_error "Invalid
// regex.", and std::bad_alloc. One thread at a time.
class ValueMatcher {
 public:
  explicit ValueMatcher(std::string_view pattern);

  // Whether one text at most matches, which then has this pointer (a number to compare).
  bool IsLiteral() const noexcept { return isLiteral_; }
  const char* Literal() const noexcept { return literal_; }
  // Whether that text is no symbol's, so that no value can match.
  bool IsUnheardOf() const noexcept { return isUnheardOf_; }

  // How many values are going to be compared; more than 0.
  void Expect(std::size_t values) noexcept { expected_ = values; }

  // Must not be called when no value can match. Writes those of the ids, at most kMostAtOnce, whose value
  // matches, or does not match when `wanted` is false; returns how many. Throws as Regex::Matches does.
  std::size_t Select(std::span<const unsigned> ids, std::span<const Symbol> values, bool wanted,
                     unsigned* selected);
  static constexpr std::size_t kMostAtOnce = 512;

 private:
  bool Matches(const Symbol& value);

  bool isLiteral_ = false;
  const char* literal_ = nullptr;  // a number to compare; null is the empty text
  bool isUnheardOf_ = false;
  std::optional<Regex> regex_;
  std::optional<Regex::Matcher> matcher_;
  // Given up when the first values show that they do not come back often enough.
  bool usesMemo_ = true;
  std::size_t expected_ = 1;
  std::size_t seen_ = 0;
  VerdictMemo memo_;
};

}  // namespace du::internal

#endif
