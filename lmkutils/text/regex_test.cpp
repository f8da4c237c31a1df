#include "lmkutils/text/regex.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "lmkutils/testing/threads.h"

namespace {

using du::Regex;
using namespace std::string_view_literals;

// What making the expression and matching throws; "" when nothing.
std::string ErrorOf(std::string_view pattern, std::string_view text) {
  try {
    static_cast<void>(Regex(pattern).Matches(text));
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(Regex, MatchesWholeTexts) {
  struct Case {
    std::string_view pattern;
    std::string_view text;
    bool matches;
  };
  constexpr Case kCases[] = {
      {"", "", true},
      {"", "a", false},
      {"a", "ab", false},
      {"b", "ab", false},
      {".*b.*", "abc", true},
      {"a|ab", "ab", true},  // the first alternative alone ends too early
      {"a|b", "ab", false},
      {"a+?", "aaa", true},
      {"(a)(b)(c)", "abc", true},
      {"a#b", "a#b", true},
      {"(?x) a b # remark", "ab", true},
      {"\\Qa.b", "a.b", true},
      {"a$", "a\n", false},
      {".", "\n", false},
      {"(?s).", "\n", true},
      {".", "\r", true},
      {"(?i)stra\xC3\x9F\x45", "STRA\xE1\xBA\x9E\x65", true},
      {".", "\xC3\xA4", true},
      {"..", "\xC3\xA4", false},
      {"\\x{1F600}", "\xF0\x9F\x98\x80", true},
      {"[\xC3\xA4-\xC3\xBC]", "\xC3\xB6", true},
      {"\\d", "\xD9\xA3", false},
      {"a\0b"sv, "a\0b"sv, true},
      {"a", "a\0"sv, false},
      {"(*NO_JIT)a+", "aaa", true},
      {"\\((?:[^()]|(?R))*\\)", "(a(b)())", true},
      {"a(?=b)", "ab", false},
      {"a\\Kb", "ab", true},  // does not move the beginning
      {".(*ACCEPT)b", "a", true},
      {".(*ACCEPT)b", "ab", false},  // nor this the end
      {"(*NO_JIT).(*ACCEPT)b", "ab", false},
      {"(*NOTEMPTY)a*", "", false},
      {"(*NOTEMPTY)a*", "a", true},
      // Texts that are not UTF-8 match nothing, wherever the fault is.
      {".*", "\xFF", false},
      {".*", "long enough for a word \xC3", false},
      {".*", "\xED\xA0\x80 surrogate", false},
  };
  for (const auto& [pattern, text, matches] : kCases) {
    EXPECT_EQ(matches, Regex(pattern).Matches(text)) << pattern << " with " << text;
  }
}

TEST(Regex, RefusesPatternsThatDoNotCompile) {
  struct Case {
    std::string pattern;
    std::size_t position;
  };
  const Case cases[] = {
      {"(", 1},
      {"ab)", 2},
      {"a{2,1}", 5},
      {"[z-a]", 3},
      {"\\C", 2},
      {"x\xFFy", 1},
      {"\xC3", 0},
      {std::string(251, '(') + std::string(251, ')'), 251},
      {std::string(Regex::kPatternLimit + 1, 'x'), 0},
  };
  for (const auto& [pattern, position] : cases) {
    SCOPED_TRACE(pattern.substr(0, 20));
    EXPECT_EQ("Invalid regex.", ErrorOf(pattern, ""));
    const auto fault = Regex::FindFault(pattern);
    ASSERT_TRUE(fault.has_value());
    EXPECT_EQ(position, fault->position);
    EXPECT_NE("", fault->reason);
  }
  EXPECT_FALSE(Regex::FindFault("a(b)*").has_value());
}

TEST(Regex, EndsSearchesThatCostTooMuch) {
  constexpr std::string_view kMatchLimit = "Regex exceeds the match limit.";
  constexpr std::string_view kMemoryLimit = "Regex exceeds the memory limit.";
  const std::string text(40, 'a');
  EXPECT_EQ(kMatchLimit, ErrorOf("(a+)+(b|c)", text));
  EXPECT_EQ(kMatchLimit, ErrorOf("(*NO_JIT)(a+)+(b|c)", text));
  EXPECT_EQ(kMatchLimit, ErrorOf("(*LIMIT_MATCH=4000000000)(a+)+(b|c)", text));  // nobody raises it
  EXPECT_EQ(kMemoryLimit, ErrorOf("(*NO_JIT)(?:(a)|b)*c", std::string(900'000, 'a')));
  EXPECT_EQ(kMemoryLimit, ErrorOf("(?:(a)|b)*c", std::string(900'000, 'a')));

  // What a piece of the thread's stack does not hold, but the limit allows.
  EXPECT_TRUE(Regex("(?:(a)|b)*").Matches(std::string(20'000, 'a')));

  // A failed match does not disturb the next one.
  const Regex regex("(a+)+(b|c)");
  Regex::Matcher matcher(regex);
  EXPECT_THROW(static_cast<void>(matcher.Matches(text)), std::runtime_error);
  EXPECT_TRUE(matcher.Matches("aab"));
}

TEST(Regex, IsSharedByThreads) {
  const Regex regex("(x|yz)+[0-9]{2}");
  lmktest::OnThreads(4, [&](int) {
    for (int i = 0; i < 2000; ++i) {
      ASSERT_TRUE(regex.Matches("xyzx42"));
      ASSERT_FALSE(regex.Matches("xyzx4"));
    }
  });
}

}  // namespace
