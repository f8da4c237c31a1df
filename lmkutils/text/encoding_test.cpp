#include "lmkutils/text/encoding.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(Encoding, ConvertsEveryCharacterThereAndBack) {
  std::u32string all;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) all += c;
  }
  const std::string utf8 = du::ToUtf8(all);
  const std::u16string utf16 = du::ToUtf16(all);
  const std::wstring wide = du::ToWide(all);
  EXPECT_EQ(128u + 1920 * 2 + 61440 * 3 + 1048576 * 4, utf8.size());
  EXPECT_EQ(63488u + 1048576 * 2, utf16.size());
  EXPECT_EQ(sizeof(wchar_t) == 2 ? utf16.size() : all.size(), wide.size());
  EXPECT_TRUE(du::CheckUtf8(utf8) && du::CheckUtf16(utf16) && du::CheckUtf32(all) && du::CheckWide(wide));

  std::string narrow;
  std::u16string units;
  std::u32string back;
  std::wstring wideBack;
  EXPECT_TRUE(du::ConvertText(utf8, back) && back == all);
  EXPECT_TRUE(du::ConvertText(utf8, units) && units == utf16);
  EXPECT_TRUE(du::ConvertText(utf8, wideBack) && wideBack == wide);
  EXPECT_TRUE(du::ConvertText(utf16, narrow) && narrow == utf8);
  EXPECT_TRUE(du::ConvertText(utf16, back) && back == all);
  EXPECT_TRUE(du::ConvertText(utf16, wideBack) && wideBack == wide);
  EXPECT_TRUE(du::ConvertText(all, narrow) && narrow == utf8);
  EXPECT_TRUE(du::ConvertText(all, units) && units == utf16);
  EXPECT_TRUE(du::ConvertText(all, wideBack) && wideBack == wide);
  EXPECT_TRUE(du::ConvertText(wide, narrow) && narrow == utf8);
  EXPECT_TRUE(du::ConvertText(wide, units) && units == utf16);
  EXPECT_TRUE(du::ConvertText(wide, back) && back == all);
  EXPECT_TRUE(du::RepairUtf8(utf8) == utf8 && du::ToUtf8(wide) == utf8 && du::ToUtf16(utf8) == utf16);
}

TEST(Encoding, KnownUnits) {
  EXPECT_EQ("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", du::ToUtf8(U"\u00E4\u20AC\U0001F600"s));
  EXPECT_EQ(u"\xD83D\xDE00"s, du::ToUtf16("\xF0\x9F\x98\x80"));
  EXPECT_EQ(U"a\0b"s, du::ToUtf32("a\0b"s));
  EXPECT_EQ("\xEF\xBB\xBFx", du::ToUtf8(u"\uFEFFx"s));
}

// ASCII is converted in blocks: other characters at every place of one, and texts of every length.
TEST(Encoding, BlocksOfAsciiEndAnywhere) {
  const std::pair<std::u16string, std::string> others[] = {{u"\u00E4"s, "\xC3\xA4"},
                                                           {u"\u5927"s, "\xE5\xA4\xA7"},
                                                           {u"\xD83D\xDE00"s, "\xF0\x9F\x98\x80"},
                                                           {u"\xD83D"s, "\xEF\xBF\xBD"},
                                                           {u"\xDE00"s, "\xEF\xBF\xBD"}};
  for (const auto& [units, bytes] : others) {
    for (std::size_t before = 0; before < 20; ++before) {
      for (std::size_t after = 0; after < 20; ++after) {
        const std::u16string text = std::u16string(before, u'b') + units + std::u16string(after, u'\x7F');
        const std::string expected = std::string(before, 'b') + bytes + std::string(after, '\x7F');
        EXPECT_EQ(du::ToUtf8(text), expected);
        const bool broken = bytes == "\xEF\xBF\xBD";
        std::string strict;
        EXPECT_EQ(du::ConvertText(text, strict).position, broken ? before : text.size());
      }
    }
  }
}

// Where strict conversion stops, and how many U+FFFD (here '?') stand for what: the Unicode Standard's own
// examples (tables 3-8 to 3-11) among them.
TEST(Encoding, BrokenUtf8IsLocatedAndReplaced) {
  const struct {
    std::string text;
    std::size_t position;
    const char* replaced;
  } cases[] = {
      {"ab\x80z", 2, "ab?z"},
      {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", 0, "????????A"},  // overlong
      {"\xC1\xBFx", 0, "??x"},
      {"x\xE0\x9F\xBF", 1, "x???"},
      {"\xF0\x8F\xBF\xBF", 0, "????"},
      {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", 0, "????????A"},  // surrogates
      {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", 0, "?????A??B"},  // beyond U+10FFFF
      {"\xF5\x80\x80\x80", 0, "????"},
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", 0, "????A"},  // truncated
      {"ok\xE2\x82", 2, "ok?"},
      {"ok\xF0\x9F\x98", 2, "ok?"},
      {"ok\xF0\x9F", 2, "ok?"},
      {"ok\xC3", 2, "ok?"},
      {"\xE2\x82\xE2\x82\xAC", 0, "?\xE2\x82\xAC"},
      {"\xFE\xFF", 0, "??"},
      {"\xF8\x88\x80\x80\x80", 0, "?????"},
  };
  for (const auto& [text, position, replaced] : cases) {
    std::string marked = du::RepairUtf8(text);
    for (std::size_t at; (at = marked.find("\xEF\xBF\xBD")) != std::string::npos;) marked.replace(at, 3, "?");
    EXPECT_EQ(replaced, marked);
    EXPECT_EQ(du::ToUtf16(text), du::ToUtf16(du::RepairUtf8(text)));
    EXPECT_EQ(du::ToUtf32(text), du::ToUtf32(du::RepairUtf8(text)));
    const auto result = du::CheckUtf8(text);
    EXPECT_FALSE(result) << replaced;
    EXPECT_EQ(position, result.position) << replaced;
    std::u16string prefix = u"old";
    EXPECT_EQ(position, du::ConvertText(text, prefix).position);
    EXPECT_EQ(position, prefix.size());
  }
}

TEST(Encoding, BrokenUtf16AndUtf32AreLocatedAndReplaced) {
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  const struct {
    std::u16string text;
    std::size_t position;
    std::u32string replaced;
  } cases[] = {
      {{u'a', high}, 1, U"a\uFFFD"},
      {{u'a', high, u'b'}, 1, U"a\uFFFDb"},
      {{low, high}, 0, U"\uFFFD\uFFFD"},
      {{high, high, low}, 0, U"\uFFFD\U0001F600"},
      {{high, low, low, u'c'}, 2, U"\U0001F600\uFFFDc"},
  };
  for (const auto& [text, position, replaced] : cases) {
    EXPECT_EQ(replaced, du::ToUtf32(text));
    EXPECT_EQ(du::ToUtf8(replaced), du::ToUtf8(text));
    std::string prefix;
    const auto result = du::ConvertText(text, prefix);
    EXPECT_FALSE(result);
    EXPECT_EQ(position, result.position);
    EXPECT_EQ(du::ToUtf8(text.substr(0, position)), prefix);
  }
  for (const char32_t wrong : {U'\xD800', U'\xDFFF', char32_t{0x110000}, char32_t{0xFFFFFFFF}}) {
    const std::u32string text = {U'a', wrong, U'b'};
    EXPECT_EQ(
        "a\xEF\xBF\xBD"
        "b",
        du::ToUtf8(text));
    EXPECT_EQ(1u, du::CheckUtf32(text).position);
    EXPECT_FALSE(du::CheckUtf32(text));
  }
  EXPECT_EQ(std::wstring(L"x\xFFFD"), du::ToWide(std::u16string{u'x', low}));
}

}  // namespace
