// Regular expressions.
#ifndef LMKUTILS_TEXT_REGEX_H
#define LMKUTILS_TEXT_REGEX_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lmkutils/export.h"

namespace du {

// A compiled regular expression: Perl's syntax as PCRE2 has it, over the characters of UTF-8. A text matches
// as a whole or not at all; ".*x.*" finds an x anywhere. "." stands for everything but a line feed, "\d" and
// "\w" for ASCII, "(?i)" at the beginning ignores case in all scripts. "\C" is not available.
//
// What an expression may cost is limited: kMatchLimit steps of the matcher for one text, kMemoryLimit bytes
// to go back in. So one that would search for years ends in an error. Expressions of more than kPatternLimit
// bytes, or with more than 250 parentheses in each other, do not compile.
//
// Owned by whoever makes it; not copied. Once made, any number of threads may match with it at once.
class LMK_API Regex {
 public:
  static constexpr unsigned kMatchLimit = 1'000'000;
  static constexpr unsigned kMemoryLimit = 16 * 1024 * 1024;
  static constexpr std::size_t kPatternLimit = 65'536;

  // Why and where a pattern does not compile.
  struct Fault {
    std::size_t position = 0;  // bytes of the pattern before it
    std::string reason;        // in English, as PCRE2 words it
  };

  // Throws std::runtime_error "Invalid regex." when the pattern does not compile or is not well-formed UTF-8,
  // std::bad_alloc when memory is exhausted.
  explicit Regex(std::string_view pattern);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  // Whether the whole text matches; false for a text that is not well-formed UTF-8. Throws std::runtime_error
  // "Regex exceeds the match limit." or "Regex exceeds the memory limit." when that could not be found out,
  // std::bad_alloc when memory is exhausted.
  [[nodiscard]] bool Matches(std::string_view text) const;

  // Nothing when the pattern compiles. Throws std::bad_alloc.
  [[nodiscard]] static std::optional<Fault> FindFault(std::string_view pattern);

  // Matches many texts with the same expression, which must outlive it: what each match needs is kept for the
  // next one. One thread at a time.
  class LMK_API Matcher {
   public:
    // Throws std::bad_alloc.
    explicit Matcher(const Regex& regex);
    ~Matcher();
    Matcher(const Matcher&) = delete;
    Matcher& operator=(const Matcher&) = delete;

    // As Regex::Matches.
    [[nodiscard]] bool Matches(std::string_view text);

   private:
    class Impl;
    std::unique_ptr<Impl> impl_;
  };

 private:
  class Code;
  std::unique_ptr<const Code> code_;
};

}  // namespace du

#endif
