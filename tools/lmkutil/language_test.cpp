// The commands for all languages of a product, and the tool's own languages.
#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tools/lmkutil/display_width.h"
#include "tools/lmkutil/testing/findings.h"
#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::Findings;
using lmktest::RunTool;
using lmktest::Texts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::array kLanguages{"de", "en", "es", "fr", "it", "ja", "ko", "pt_BR", "ru", "zh_CN", "zh_TW"};

std::string OwnData() {
  const std::string self = lmktest::SelfPath();
  return self.substr(0, self.find_last_of("/\\")) + "/../share/lumora";
}

Texts Lines(const std::string& text) {
  Texts lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The table and the lines around it, which an empty line separates from findings.
Texts TableLines(const std::string& out) {
  const Texts lines = Lines(out);
  const auto separator = std::find(lines.begin(), lines.end(), "");
  return {separator == lines.end() ? lines.begin() : separator + 1, lines.end()};
}

class LmkutilLanguageTest : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& bytes) const {
    const std::filesystem::path path(std::u8string(name.begin(), name.end()));
    const std::string folder = folder_.Path();
    std::filesystem::create_directories(std::filesystem::path(std::u8string(folder.begin(), folder.end())) /
                                        path.parent_path());
    return folder_.Write(name, bytes);
  }
  ChildResult Check(Texts options = {}) const {
    options.insert(options.begin(), {"strings", "check", folder_.Path()});
    return RunTool(options);
  }

  lmktest::TempDir folder_{"lmkutil ä 日"};
};

TEST_F(LmkutilLanguageTest, ComparesEveryLanguageWithEnglish) {
  Write("en/a.lmtrb",
        "A.value=Alpha {0}\nB.value=Beta\nC.value={0}: {1}\nD.value=Delta\nE.value=Epsilon {0}{1}\n");
  Write("en/b.lmtrb", "F.value=Phi\nG.value=lmkutil\nG.note=same as English\n");
  Write("de/a.lmtrb",
        "A.value=Alpha {0}\nC.value={0}: {1}\nD.value=Delta\nD.note=same as English\n"
        "E.value={1}{1}\nX.value=x\n");
  Write("de/b.lmtrb", "F.value=Phi {0}\nG.value=lmkutil\n");
  Write("fr/a.lmtrb", "A.value=x\nB value\n");
  Write("fr/c.lmtrb", "Q.value=q\n");
  Write("pt-BR/a.lmtrb", "A.value=a {0}\n");
  Write("notes/readme.txt", "not a language");
  const ChildResult result = Check({"--json"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("", result.err);
  EXPECT_THAT(Findings(result.out),
              ElementsAre("1:1 error MISSING", "1:9 warning SAME_AS_ENGLISH", "5:9 warning UNUSED_ARGUMENT",
                          "5:9 error DIFFERENT", "6:1 warning SURPLUS", "1:9 error ARGUMENT_COUNT",
                          "1:1 error MISSING", "1:1 error MISSING", "1:1 error MISSING", "1:1 error MISSING",
                          "1:9 error ARGUMENT_COUNT", "2:1 error NO_DOT", "1:1 error FILE_MISSING",
                          "1:1 warning FILE_SURPLUS", "1:1 error UNKNOWN_LANGUAGE"));
  EXPECT_THAT(result.out, HasSubstr("\"language\": \"en\""));
  EXPECT_THAT(result.out, HasSubstr("\"wanted\": 7, \"translated\": 3, \"percent\": 42, \"missing\": 1, "
                                    "\"extra\": 1, \"same\": 1, \"arguments\": 2, \"tooLong\": 0, "
                                    "\"others\": 1}"));
  EXPECT_THAT(result.out, HasSubstr("\"wanted\": 7, \"translated\": 0, \"percent\": 0, \"missing\": 7, "
                                    "\"extra\": 0, \"same\": 0, \"arguments\": 0, \"tooLong\": 0, "
                                    "\"others\": 1}"));
  EXPECT_THAT(result.out, HasSubstr("\"files\": 5, "));
  EXPECT_THAT(TableLines(Check().out),
              ElementsAre(folder_.Path(),
                          "language  translated    %  missing  extra  same  arguments  too long  other",
                          "en                 7  100        0      0     0          0         0      0",
                          "de                 3   42        1      1     1          2         0      1",
                          "fr                 0    0        7      0     0          0         0      1",
                          "Files: 5, messages: 15, errors: 11, warnings: 4"));
}

TEST_F(LmkutilLanguageTest, ExitStatusTellsWhetherAnythingIsWrong) {
  Write("share/viewer/en/a.lmtrb", "A.value=one two three\n");
  Write("share/viewer/ja/a.lmtrb", "A.value=一二三四五六七八九十一二三四五六七八九\n");  // 38 columns
  Write("share/other/en/b.lmtrb", "A.value=x\n");
  EXPECT_EQ(0, Check().exitCode) << Check().out;
  EXPECT_THAT(Check({"--json"}).out, HasSubstr("/share/viewer/ja\""));
  EXPECT_EQ(1, Check({"--longest", "200", "--strict"}).exitCode);
  EXPECT_EQ(0, Check({"--longest", "216", "--strict"}).exitCode);
  EXPECT_EQ(0, Check({"--longest", "0", "--strict"}).exitCode);
  EXPECT_THAT(Findings(Check({"--longest", "215", "--json"}).out), ElementsAre("1:9 warning TOO_LONG"));
  EXPECT_EQ(2, Check({"--longest", "long"}).exitCode);
  EXPECT_EQ(2, Check({Write("share/viewer/en/a.lmtrb", "A.value=x\n")}).exitCode);
  const lmktest::TempDir nothing;
  EXPECT_THAT(RunTool({"strings", "check", nothing.Path()}).err, HasSubstr("there is no folder \"en\""));
}

TEST_F(LmkutilLanguageTest, BaseLanguageStandsInForARegionalOne) {
  Write("en/a.lmtrb", "A.value=alpha\n");
  Write("en/b.lmtrb", "B.value=beta\n");
  Write("zh/a.lmtrb", "A.value=一\nX.value=一\n");
  Write("zh_TW/b.lmtrb", "B.value=二\n");
  const ChildResult result = Check({"--json"});
  EXPECT_THAT(Findings(result.out), ElementsAre("2:1 warning SURPLUS", "1:1 error FILE_MISSING"));
  EXPECT_THAT(result.out, HasSubstr("/zh_TW\", \"wanted\": 2, \"translated\": 2, \"percent\": 100"));
}

TEST_F(LmkutilLanguageTest, OwnTextsAreFullyTranslated) {
  const ChildResult result = RunTool({"strings", "check", "--strict", "--json", OwnData()});
  EXPECT_EQ(0, result.exitCode) << result.out << result.err;
  EXPECT_THAT(Findings(result.out), IsEmpty());
  for (const char* language : kLanguages)
    EXPECT_THAT(result.out, HasSubstr(std::string("\"language\": \"") + language + "\""));
}

TEST_F(LmkutilLanguageTest, TableFitsATerminalInEveryLanguage) {
  for (const char* language : kLanguages) {
    const Texts lines = TableLines(RunTool({"strings", "check", OwnData()}, {{"LUMORA_LANG", language}}).out);
    ASSERT_EQ(kLanguages.size() + 3, lines.size()) << language;
    // The last column is aligned to the right, so that all lines of the table are equally wide.
    std::set<std::size_t> widths;
    for (std::size_t i = 1; i + 1 < lines.size(); ++i) widths.insert(lmkutil::DisplayWidth(lines[i]));
    EXPECT_EQ(1U, widths.size()) << language;
    EXPECT_GE(80U, *widths.rbegin()) << language;
  }
}

TEST(DisplayWidthTest, CountsColumns) {
  struct Case {
    const char* text;
    std::size_t width;
  };
  for (const Case& c :
       {Case{"", 0}, Case{"aß→…", 4}, Case{"日本語", 6}, Case{"ﾊﾝｶｸ", 4}, Case{"한글", 4},
        Case{"、。「」", 8}, Case{"Ṁẋ", 2}, Case{"e\xCC\x81", 1}, Case{"２", 2}, Case{"🙂", 2}})
    EXPECT_EQ(c.width, lmkutil::DisplayWidth(c.text)) << c.text;
}

// What a table says, tag by tag.
std::string AllTexts(const std::string& bytes, du::Lmtrb::PseudoLocalizeOption option) {
  std::istringstream in(bytes);
  const auto table = du::MakeShared<du::Lmtrb>(in, "a", option);
  du::HashMap<du::Symbol, du::Symbol> strings;
  table->AddAllStrings(strings);
  std::string texts;
  for (const auto& [tag, text] : strings)
    texts += std::string(tag.safe_c_str()) + "=" + text.safe_c_str() + "\n";
  return texts;
}

TEST_F(LmkutilLanguageTest, PseudoFileRendersAsTheOptionDoes) {
  std::string bytes =
      "\xEF\xBB\xBF# comment\n\n  A.value=Open {0}\\n\\\"x\\\"\\\nA.comment=plain\nB.value=\nC.value=a=b.c # "
      "{x} {{1}}\n"
      ".value=\\\\\nD.value=\xFF\x01 caf\xC3\xA9\nE.value=cut";
  bytes += std::string("\0off\nF.value=lost", 17);
  const std::string file = Write("a.lmtrb", bytes);
  const std::string out = folder_.File("b.lmtrb");
  EXPECT_EQ(0, RunTool({"strings", "pseudo", file, out}).exitCode);
  const std::string pseudo = lmktest::ReadWholeFile(out);
  EXPECT_EQ(AllTexts(bytes, du::Lmtrb::kPseudoLocalize), AllTexts(pseudo, du::Lmtrb::kAsWritten));
  EXPECT_THAT(pseudo, HasSubstr("# comment\n\n  A.value=[Öþéñ {0}"));
  EXPECT_THAT(pseudo, HasSubstr("A.comment=plain\n"));
  EXPECT_EQ(1, RunTool({"strings", "pseudo", file, file}).exitCode);  // would lose the original
  EXPECT_EQ(bytes, lmktest::ReadWholeFile(file));
  EXPECT_EQ("A.value=[ẋ]\n", RunTool({"strings", "pseudo", Write("c.lmtrb", "A.value=x\r\n")}).out);
}

}  // namespace
