// The tool as its users meet it: as a program.
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/lmkutil/testing/findings.h"
#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::Findings;
using lmktest::RunTool;
using lmktest::Texts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class LmkutilTest : public testing::Test {
 protected:
  // The findings in a single file.
  Texts Check(const std::string& bytes, int expectedStatus) {
    const ChildResult result = RunTool({"strings", "check", "--json", folder_.Write("a.lmtrb", bytes)});
    EXPECT_EQ(expectedStatus, result.exitCode) << result.err;
    EXPECT_EQ("", result.err);
    return Findings(result.out);
  }

  lmktest::TempDir folder_{"lmkutil ä 日"};
};

TEST_F(LmkutilTest, ShowsMessages) {
  const std::string file = folder_.Write("ü.lmtrb",
                                         "\xEF\xBB\xBF"
                                         "A.value=plain\\ntext\r\nB.value=<{1}|{0}>\r\n");
  struct Case {
    Texts arguments;
    const char* out;
  };
  for (const Case& c : {Case{{"A"}, "plain\ntext\n"}, Case{{"B", "ä日", "x y"}, "<x y|ä日>\n"},
                        Case{{"B", "-5", "--json"}, "<--json|-5>\n"}, Case{{"B", "-h", "--"}, "<--|-h>\n"},
                        Case{{"B", "--", "x"}, "<x|-->\n"}, Case{{"B", "", "{0}\\n"}, "<{0}\\n|>\n"}}) {
    Texts arguments{"strings", "show", file};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(c.out, result.out);
    EXPECT_EQ("", result.err);
  }
}

TEST_F(LmkutilTest, FailuresAreOneLineThatSaysWhatToDo) {
  const std::string file = folder_.Write("a.lmtrb", "A.value={0}{2}\n");
  const std::string bad = folder_.Write("bad.lmtrb", "A value\n");
  const std::string missing = folder_.File("missing.lmtrb");
  struct Case {
    Texts arguments;
    int status;
    std::string err;
  };
  const std::vector<Case> cases{
      {{"strings", "show", file, "B"},
       1,
       "there is no message \"B\" in \"" + file + "\"; \"lmkutil strings list " + file +
           "\" shows the ones it has"},
      {{"strings", "show", file, "A", "x"},
       1,
       "wrong number of arguments for the message \"A\": 1 instead of 3"},
      {{"strings", "show", missing, "A"},
       1,
       "cannot read \"" + missing + "\"; check the path and the permissions"},
      {{"strings", "list", folder_.Path()},
       1,
       "cannot read \"" + folder_.Path() + "\"; check the path and the permissions"},
      {{"strings", "list", bad},
       1,
       "cannot load \"" + bad + "\"; \"lmkutil strings check " + bad + "\" tells why"},
      {{"strings", "check", missing},
       1,
       "cannot read \"" + missing + "\"; check the path and the permissions"},
      {{}, 2, "a command or an argument is missing; see \"lmkutil --help\""},
      {{"strings", "show", file},
       2,
       "a command or an argument is missing; see \"lmkutil strings show --help\""},
      {{"strings", "check", "--xml", file},
       2,
       "\"--xml\" is not understood; see \"lmkutil strings check --help\""},
      {{"strings", "show", "--json", file, "A", "x"},
       2,
       "\"--json\" is not understood; see \"lmkutil strings show --help\""},
      {{"sing"}, 2, "\"sing\" is not understood; see \"lmkutil --help\""},
  };
  for (const Case& c : cases) {
    const ChildResult result = RunTool(c.arguments);
    EXPECT_EQ(c.status, result.exitCode);
    EXPECT_EQ("lmkutil: " + c.err + "\n", result.err);
  }
}

TEST_F(LmkutilTest, ListsInFileOrder) {
  const std::string file = folder_.Write("a.lmtrb", "B.value=b\\n\\\\ {1}\nA.value=\n.value=ä\n");
  EXPECT_EQ("B\t2\tb\\n\\\\ {1}\nA\t0\t\n\t0\tä\n", RunTool({"strings", "list", file}).out);
}

TEST_F(LmkutilTest, HelpAndVersion) {
  EXPECT_EQ("lmkutil " LMKUTIL_VERSION "\n", RunTool({"--version"}).out);
  for (const Texts& arguments :
       {Texts{"--help"}, Texts{"strings", "-h"}, Texts{"strings", "show", "--help"},
        Texts{"strings", "list", "--help"}, Texts{"strings", "check", "--help"},
        Texts{"strings", "pseudo", "--help"}, Texts{"strings", "export", "--help"},
        Texts{"strings", "import", "--help"}, Texts{"dump", "--help"}, Texts{"memory", "--help"}}) {
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(0, result.exitCode);
    EXPECT_THAT(result.out, HasSubstr("Usage: lmkutil"));
  }
}

struct Greeting {
  lmktest::Environment environment;
  const char* start;
};

void ExpectGreetings(const std::vector<Greeting>& greetings) {
  for (const Greeting& greeting : greetings) {
    const ChildResult result = RunTool({}, greeting.environment);
    EXPECT_EQ(2, result.exitCode);
    EXPECT_THAT(result.err, StartsWith(greeting.start));
  }
}

TEST_F(LmkutilTest, SpeaksTheForcedLanguage) {
  ExpectGreetings({{{{"LUMORA_LANG", "de"}}, "lmkutil: ein Befehl"},
                   {{{"LUMORA_LANG", "fr"}}, "lmkutil: il manque"},
                   {{{"LUMORA_LANG", "ja"}}, "lmkutil: コマンド"},
                   {{{"LUMORA_LANG", "pseudo_de"}}, "lmkutil: ein Befehl"},
                   {{{"LUMORA_LANG", "Pseudo"}}, "lmkutil: [á çöɱɱáñð"}});
}

TEST_F(LmkutilTest, SpeaksTheLanguageOfTheSystem) {
  if (dp::LmSysInfo::GetOsName() == "Windows") GTEST_SKIP() << "the user chose it, not the environment";
  ExpectGreetings({{{{"LANG", "de_AT.UTF-8"}}, "lmkutil: ein Befehl"},
                   {{{"LANG", "de_AT.UTF-8"}, {"LC_ALL", "C"}}, "lmkutil: a command"},
                   {{{"LUMORA_LANG", "../de"}}, "lmkutil: a command"},
                   {{{"LUMORA_LANG", "DE"}, {"LANG", "fr_FR"}}, "lmkutil: il manque"},
                   {{}, "lmkutil: a command"}});
}

TEST_F(LmkutilTest, ChecksLines) {
  struct Case {
    std::string bytes;
    Texts findings;
  };
  const std::vector<Case> faulty{
      {"A.value=x\nB value\n", {"2:1 error NO_DOT"}},
      {"A.value=x\n  B.value\n", {"2:5 error NO_EQUALS"}},
      {"ä.value=x\n\n#c\nä.value=y\n", {"4:1 error DUPLICATE"}},
      {"A.value=x\nB.value=y", {"2:10 error LOST_MESSAGE"}},
      {"A.value=x\nB.val", {"2:6 error LOST_LINE"}},
      {"A.value=x\nA.Value=y\nA.valeu=y\nA. value=y\nA.note=\nA.comment=\nA.owner=me\n",
       {"2:3 error MISSPELT_KEY", "3:3 error MISSPELT_KEY", "4:3 error MISSPELT_KEY",
        "7:3 error UNKNOWN_KEY"}},
      {"A.value=ä {0\nB.value={1 of {0}\n", {"1:11 error UNFINISHED", "2:9 error UNFINISHED"}},
      {"A.value={0 }{\n", {"1:9 error UNFINISHED", "1:13 warning NOT_PLACEHOLDER"}},
      {"A.value={99999999999}\n", {"1:9 error HUGE_NUMBER"}},
      {"\xEFzzA.value=x\n", {"1:1 error BROKEN_BOM"}},
      {"\xEF\n\n\nA\n", {"1:1 error BROKEN_BOM", "1:1 error NO_MESSAGE", "4:1 error NO_DOT"}},
      {"\xFF\xFE"
       "A\0",
       {"1:1 error UTF16"}},
      {"A.value=ä\xE4 \xFF\n#\xC3\n", {"1:10 error BAD_UTF8", "2:2 error BAD_UTF8"}},
      {std::string("A\0B.value=x\nA.value=x\0y\n", 24), {"1:2 error NUL_IN_TAG", "2:10 error NUL_IN_VALUE"}},
      {"", {"1:1 error NO_MESSAGE"}},
      {"# only\n\nA.comment=x\n", {"1:1 error NO_MESSAGE"}},
  };
  const std::vector<Case> doubtful{
      {"A.value=\n", {"1:9 warning EMPTY_VALUE"}},
      {"A.value=a\\d\\\\\\n\\\n", {"1:10 warning UNKNOWN_ESCAPE", "1:16 warning LAST_BACKSLASH"}},
      {"A.value={} {-1} {٠} {x\n",
       {"1:9 warning NOT_PLACEHOLDER", "1:12 warning NOT_PLACEHOLDER", "1:17 warning NOT_PLACEHOLDER",
        "1:21 warning NOT_PLACEHOLDER"}},
      {"A.value={0} {2}\n", {"1:9 warning UNUSED_ARGUMENT"}},
      {"A .value=x\x01\r\n", {"1:2 warning TAG_BLANK", "1:11 warning CONTROL"}},
  };
  for (const Case& c : faulty) EXPECT_EQ(c.findings, Check(c.bytes, 1)) << c.bytes;
  for (const Case& c : doubtful) EXPECT_EQ(c.findings, Check(c.bytes, 0)) << c.bytes;
  EXPECT_THAT(Check("\xEF\xBB\xBF# ok\r\n\r\nA.value={{0}} \\\"{1}\\\" {00}\tx\r\n.value=y\r\n", 0),
              ElementsAre());
}

TEST_F(LmkutilTest, ReportsAsCompilersDo) {
  const std::string file = folder_.Write("a.lmtrb", "A.value=x\nA.value={0\nB.value=\n");
  const ChildResult result = RunTool({"strings", "check", file});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ(file +
                ":2:1: error: the tag \"A\" is in line 1 already, so the whole file is rejected; rename or "
                "remove one of the two\n" +
                file + ":3:9: warning: the message \"B\" is empty; write its text, or remove the line\n" +
                "Files: 1, messages: 2, errors: 1, warnings: 1\n",
            result.out);
  EXPECT_EQ(1, RunTool({"strings", "check", "--strict", folder_.Write("b.lmtrb", "B.value=\n")}).exitCode);
}

TEST_F(LmkutilTest, ComparesLanguages) {
  const std::string english = folder_.Write("en.lmtrb", "A.value={0}\nB.value=b\nC.value={0}{1}\n");
  const std::string german = folder_.Write("de.lmtrb", "# x\nC.value={1}{0}{0}\n\nA.value=a\nD.value=d\n");
  const ChildResult result = RunTool({"strings", "check", english, german});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ(german + ":4:1: error: the message \"B\" is missing; translate it from " + english + ":2\n" +
                german + ":4:9: error: the text takes another number of arguments (0) than in " + english +
                ":1 (1), so it is never shown; use the same placeholders\n" + german +
                ":5:1: warning: the message \"D\" is not in " + english + "; remove it, or add it there\n" +
                "Files: 2, messages: 6, errors: 2, warnings: 1\n",
            result.out);
}

TEST_F(LmkutilTest, LineThatIsLostIsNotReportedAsMissingOrSurplusToo) {
  const std::string english = folder_.Write("en.lmtrb", "A.value=a\nB.Value=b\nC.value=c\n");
  const std::string german = folder_.Write("de.lmtrb", "A.valeu=a\nB.value=b\nC.value=c");
  const ChildResult result = RunTool({"strings", "check", "--json", english, german});
  EXPECT_THAT(Findings(result.out),
              ElementsAre("2:3 error MISSPELT_KEY", "1:3 error MISSPELT_KEY", "3:10 error LOST_MESSAGE"));
}

TEST_F(LmkutilTest, LongLineWithManyFindingsIsReadOnce) {
  std::string line = "A.value=";  // takes seconds if each column is counted from the line's beginning
  for (int i = 0; i < 50'000; ++i) line += "ä\x01";
  const Texts findings = Check(line + "\n", 0);
  ASSERT_EQ(50'000U, findings.size());
  EXPECT_EQ("1:100008 warning CONTROL", findings.back());
}

TEST_F(LmkutilTest, ControlCharactersDoNotReachTheTerminal) {
  const ChildResult result =
      RunTool({"strings", "check", folder_.Write("a.lmtrb", "A.\x1B[31m=x\nA.value=\n")});
  EXPECT_THAT(result.out, HasSubstr("unknown key \"\\x1B[31m\""));
}

// A gzip member with one stored block, by hand: the sizes, the CRC-32 and the length are known.
std::string Member() {
  return std::string("\x1F\x8B\x08\0\0\0\0\0\0\x03\x01\x05\0\xFA\xFF", 15) + "hello" +
         std::string("\x86\xA6\x10\x36", 4) + std::string("\5\0\0\0", 4);
}

TEST_F(LmkutilTest, DumpsSections) {
  const std::string member = Member();
  std::string damaged = member;
  damaged[10] = 7;  // a kind of block that there is not
  std::string wrong = member;
  wrong[20] = wrong[24] = 9;
  struct Case {
    std::string bytes;
    int status;
    std::string out;
  };
  const std::string good = " bytes packed, 5 unpacked; CRC-32 and length are right\n";
  for (const Case& c : {
           Case{"", 0, "Bytes: 0, sections: 0, faulty: 0\n"},
           Case{"ab\x1F\x8B", 0, "0: plain data, 4 bytes\nBytes: 4, sections: 0, faulty: 0\n"},
           Case{member + member + "z", 0,
                "0: section 1, 28" + good + "28: section 2, 28" + good +
                    "56: plain data, 1 bytes\nBytes: 57, sections: 2, faulty: 0\n"},
           Case{"ab" + member, 0,
                "0: plain data, 2 bytes\n2: section 1, 28" + good + "Bytes: 30, sections: 1, faulty: 0\n"},
           Case{damaged + member, 1,
                "0: section 1; its data is damaged, 0 bytes before that can be unpacked\n28: section 2, 28" +
                    good + "Bytes: 56, sections: 2, faulty: 1\n"},
           Case{member.substr(0, 18), 1,
                "0: section 1; the file ends inside it, 3 bytes can be unpacked\nBytes: 18, sections: 1, "
                "faulty: "
                "1\n"},
           Case{
               member + std::string("\x1F\x8B\x08\x08\0\0\0\0\0\x03name", 14), 1,
               "0: section 1, 28" + good +
                   "28: section 2; the file ends inside it, 0 bytes can be unpacked\nBytes: 42, sections: 2, "
                   "faulty: 1\n"},
           Case{wrong, 1,
                "0: section 1, 28 bytes packed, 5 unpacked; the CRC-32 is wrong: 3610A609 in the trailer, "
                "3610A686 of "
                "the data; the length is wrong: 9 in the trailer, 5 of the data\nBytes: 28, sections: 1, "
                "faulty: 1\n"},
       }) {
    const ChildResult result = RunTool({"dump", folder_.Write("a.bin", c.bytes)});
    EXPECT_EQ(c.status, result.exitCode);
    EXPECT_EQ(c.out, result.out);
    EXPECT_EQ("", result.err);
  }
}

TEST_F(LmkutilTest, TellsThatReadingFailed) {
  const std::string file = "/proc/self/mem";  // can be opened, but not read at its beginning
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "no file that can be opened, but not read";
  for (const Texts& arguments :
       {Texts{"dump", file}, Texts{"dump", "--extract", "1", file, folder_.File("o")}}) {
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("lmkutil: cannot read \"" + file + "\"; check the path and the permissions\n", result.err);
  }
}

TEST_F(LmkutilTest, ShowsBytesOnDemand) {
  const std::string out =
      RunTool({"dump", "--hex", folder_.Write("a.bin", std::string(17, 'a') + Member())}).out;
  EXPECT_THAT(out,
              HasSubstr("  00000000  61 61 61 61 61 61 61 61  61 61 61 61 61 61 61 61  aaaaaaaaaaaaaaaa\n"
                        "  00000010  61 "));
  EXPECT_THAT(out, HasSubstr("  00000000  68 65 6C 6C 6F                                    hello\n"));
}

TEST_F(LmkutilTest, ExtractsSections) {
  const std::string file = folder_.Write("a.bin", "ab" + Member() + Member().substr(0, 18));
  const std::string out = folder_.File("\xC3\xB6.out");
  EXPECT_EQ(0, RunTool({"dump", "--extract", "1", file, out}).exitCode);
  EXPECT_EQ("hello", lmktest::ReadWholeFile(out));
  struct Case {
    Texts arguments;
    int status;
    std::string err;
  };
  for (const Case& c :
       {Case{{"2", file, out},
             1,
             "section 2 of \"" + file +
                 "\" is not as it should be, what could be unpacked is written: the file ends "
                 "inside it, 3 bytes can be unpacked"},
        Case{{"3", file, out},
             1,
             "there is no section 3 in \"" + file + "\", which has 2; \"lmkutil dump " + file +
                 "\" lists them"},
        Case{{"1", file, file},
             1,
             "cannot write \"" + file + "\"; check the path, the permissions and the disk"},
        Case{{"0", file, out}, 2, "\"0\" is not understood; see \"lmkutil dump --help\""},
        Case{{"1", file}, 2, "a command or an argument is missing; see \"lmkutil dump --help\""},
        Case{{"1", "--hex", file, out}, 2, "\"--hex\" is not understood; see \"lmkutil dump --help\""}}) {
    Texts arguments{"dump", "--extract"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(c.status, result.exitCode);
    EXPECT_EQ("lmkutil: " + c.err + "\n", result.err);
  }
  EXPECT_EQ("hel", lmktest::ReadWholeFile(out));
  EXPECT_EQ(48U, folder_.Read("a.bin").size());
}

TEST_F(LmkutilTest, TracesWhatItDoes) {
  const std::string file = folder_.Write("a.lmtrb", "A.value=x\n");
  const std::string trace = folder_.File("trace.json");
  const ChildResult result =
      RunTool({"strings", "show", file, "B"},
              {{"LUMORA_LANG", "en"}, {"LUMORA_TRACE", trace}, {"LUMORA_TRACE_FORMAT", "json"}});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_THAT(lmktest::ReadWholeFile(trace), HasSubstr("Unknown tag \\\"B\\\" in  file"));
}

}  // namespace
