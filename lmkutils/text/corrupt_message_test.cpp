#include "lmkutils/text/corrupt_message.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

using du::CorruptMessage;

std::size_t Characters(const std::string& text) {
  std::size_t count = 0;
  for (const char c : text) count += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
  return count;
}

// What a reader of the message format must find unchanged: escapes, and everything that is in braces.
std::vector<std::string> EscapesAndPlaceholders(const std::string& text) {
  std::vector<std::string> found;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) {
      found.push_back(text.substr(i++, 2));
    } else if (text[i] == '{') {
      const std::size_t end = text.find_first_not_of("0123456789", i + 1);
      if (end != text.npos && end > i + 1 && text[end] == '}') found.push_back(text.substr(i, end + 1 - i));
    }
  }
  return found;
}

TEST(CorruptMessage, AccentsLettersAndKeepsTheRest) {
  struct Case {
    const char* from;
    const char* to;
  };
  for (const Case& c :
       {Case{"", "[]"}, Case{"OK", "[ÖĶ]"}, Case{"Cannot open {0}.\\n", "[Çáññöţ öþéñ {0}.\\n ~~~]"},
        Case{"\\\\n", "[\\\\ñ]"}, Case{"\\q{a}\\", "[\\q{á}\\]"}, Case{"日本 a", "[日本 á]"},
        Case{"100 %", "[100 %]"}, Case{"}0{ {{0}}", "[}0{ {{0}} ]"}}) {
    EXPECT_EQ(c.to, CorruptMessage(c.from)) << c.from;
  }
}

TEST(CorruptMessage, GrowsByAboutAThirdInCharacters) {
  std::string text;
  for (int words = 1; words < 60; ++words) {
    text += "word ü{0} ";
    const double growth =
        static_cast<double>(Characters(CorruptMessage(text))) / static_cast<double>(Characters(text));
    EXPECT_GE(growth, 1.3) << text;
    EXPECT_LE(growth, 1.45) << text;
  }
}

TEST(CorruptMessage, RandomTextsKeepEscapesPlaceholdersAndForeignBytes) {
  std::mt19937 random(7);
  const std::string alphabet = "ab\\\\nt{{}}019 \"?\xC3\xA9\xFF";
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 24, ' ');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    const std::string corrupt = CorruptMessage(text);
    if (!text.empty() && text.back() == '\\') continue;  // the bracket follows it; covered by the table
    EXPECT_EQ(EscapesAndPlaceholders(text), EscapesAndPlaceholders(corrupt)) << text;
    EXPECT_EQ('[', corrupt.front());
    EXPECT_EQ(']', corrupt.back());
  }
}

}  // namespace
