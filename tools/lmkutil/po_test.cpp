// String-resource files on their way to translators and back.
#include <cstdlib>
#include <string>
#include <vector>

#include "tools/lmkutil/testing/findings.h"
#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/testing/random.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::RunTool;
using lmktest::Texts;
using testing::HasSubstr;
using testing::Not;

bool HasGettext() {
  return std::system("msgfmt --version") == 0;
}

constexpr char kEnglish[] =
    "# All texts of the viewer.\n\n"
    "# Shown at the start.\n"
    "HELLO.value=Hello {0}\n"
    "HELLO.comment=a name\n"
    "LINES.value=one\\n\\ttwo\\n\n"
    "\n"
    "QUIT.value=Quit\n"
    "EMPTY.value=\n"
    "BRACES.value={x} {0}\n";

class LmkutilPoTest : public testing::Test {
 protected:
  // Exports a translation of the English file and imports it again, by way of gettext's own tools when told.
  std::string RoundTrip(const std::string& english, const std::string& translation, bool byGettext) {
    const std::string source = folder_.Write("en.lmtrb", english);
    const std::string po = folder_.File("it.po");
    const ChildResult exported =
        RunTool({"strings", "export", source, folder_.Write("it.lmtrb", translation), po});
    EXPECT_EQ(0, exported.exitCode) << exported.err << translation;
    if (byGettext) AcceptAndRewrite(po);
    const std::string out = folder_.File("out.lmtrb");
    const ChildResult imported = RunTool({"strings", "import", po, out});
    EXPECT_EQ(0, imported.exitCode) << imported.out << imported.err << translation;
    return lmktest::ReadWholeFile(out);
  }

  // What translators' tools do to a file: check, wrap, sort out.
  static void AcceptAndRewrite(const std::string& po) {
    const std::string file = "\"" + po + "\"";
    EXPECT_EQ(0, std::system(("msgfmt --check -o \"" + po + ".mo\" " + file).c_str()))
        << lmktest::ReadWholeFile(po);
    EXPECT_EQ(0, std::system(("msgattrib --no-obsolete --width=40 -o " + file + " " + file).c_str()));
  }

  // What "strings import" says of a PO file with these entries, and the file that it writes.
  ChildResult Import(const std::string& entries, Texts options = {}) {
    const std::string header = "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
    options.insert(options.begin(), {"strings", "import"});
    options.push_back(folder_.Write("in.po", header + entries));
    options.push_back(folder_.File("in.lmtrb"));
    return RunTool(options);
  }

  lmktest::TempDir folder_{"lmkutil ä 日"};
};

// Each is another way to lose something.
const std::vector<std::string> kTranslations{
    "HELLO.value=Ciao {0}\nLINES.value=uno\\n\\tdue\\n\nQUIT.value=Esci\nEMPTY.value=\nBRACES.value={x} "
    "{0}\n",
    "# Titolo\n# Last-Translator: Jo <jo@example.org>\n# Plural-Forms: nplurals=1; plural=0;\n# X-Editor: "
    "yes\n\n\n"
    "# sezione\n\nQUIT.value=Esci\n",
    "QUIT.value=Esci\nHELLO.value=Ciao {0}\n",              // another order
    "\xEF\xBB\xBFQUIT.value=\xC3\x88 cos\xC3\xAC\n",        // a byte order mark
    "# x\r\n\r\nQUIT.value=Esci\r\n",                       // line ends of Windows
    "  QUIT.value=a \\\"b\\\" \"c\" \\? \\q \\\\ \\r  \n",  // indented, and escapes of all kinds
    "QUIT.value=\nHELLO.value=\n",                          // empty, where English is not
    "EMPTY.value=pieno\nLINES.value=senza fine\nQUIT.value=\\nEsci\\n\n",  // other line breaks at the ends
    "LINES.value=\\n\nQUIT.value=\\n\\n\n",                                // nothing but line breaks
    "QUIT.value=Esci\nQUIT.note=breve\nQUIT.comment=\nQUIT.owner=me\nQUIT.note= due\n",
    "QUIT.note=prima\nQUIT.value=Esci\n\nHELLO.note=da fare\nLINES.note=poi\n#\n#senza\n  # con\n \t\n",
    "EXTRA.value=non in inglese {9}\n.value=senza nome\nQUIT.value=Esci {0}\nA \"b\\c.value=\tx\n",
    "# |QUIT.value=x\n# >y\n# note: z\n# ~ QUIT\n# , fuzzy\n#, fuzzy\n#~ x\n#| x\n#: y\n#. "
    "z\nQUIT.value=Esci\n# fine\n\n",
    "# Last-Translator: due\n# Report-Msgid-Bugs-To: ordine\n\nQUIT.value=Esci\n",
    "# a\\\n# b \nQUIT.value=x\nQUIT.note=c\\\n",  // gettext joins such lines, editors trim them
    "QUIT.value=\x1B[1m\x7F a\rb\n",
};

TEST_F(LmkutilPoTest, RoundTripLosesNothing) {
  for (const std::string& translation : kTranslations)
    EXPECT_EQ(translation, RoundTrip(kEnglish, translation, false));
}

TEST_F(LmkutilPoTest, GettextAcceptsAndKeepsWhatIsWritten) {
  if (!HasGettext()) GTEST_SKIP() << "gettext is not installed";
  for (const std::string& translation : kTranslations)
    EXPECT_EQ(translation, RoundTrip(kEnglish, translation, true));
  const std::string english = folder_.Write("en.lmtrb", kEnglish);
  EXPECT_EQ(0, RunTool({"strings", "export", english, folder_.File("a.pot")}).exitCode);
  AcceptAndRewrite(folder_.File("a.pot"));
}

// Lines made of the pieces that mean something in one of the two formats.
std::string RandomFile(lmktest::Random& random) {
  static const std::vector<std::string> pieces{
      "\\n", "\\", "\"", "{0}", "{1}", "{", "}",    "#",      "|",        ">",    " ",     "\t", "é",  "日",
      ".",   "=",  "a",  ":",   ",",   "~", "\\\\", "note: ", "comment:", "\\\"", "msgid", "\r", "%s", "'"};
  std::string bytes = random() % 2 == 0 ? "# x\n\n" : "";
  const std::vector<std::string> tags{"HELLO", "LINES", "QUIT", "EMPTY", "BRACES", "OTHER", ""};
  for (std::size_t i = 0; i < tags.size(); ++i) {
    std::string text;
    for (auto count = random() % 8; count > 0; --count) text += pieces[random() % pieces.size()];
    switch (random() % 6) {
      case 0:
        bytes += "# " + text + "z\n";
        break;
      case 1:
        bytes += "\n";
        break;
      case 2:
        bytes += tags[random() % tags.size()] + ".note=" + text + "z\n";
        break;
      default:
        break;
    }
    if (i == 2 || random() % 3 != 0) bytes += tags[i] + ".value=" + text + "z\n";
  }
  return bytes + (random() % 3 == 0 ? "# y\n\n" : "");
}

TEST_F(LmkutilPoTest, RandomFilesComeBack) {
  lmktest::Random random(20);
  const bool byGettext = HasGettext();
  for (int i = 0; i < 40; ++i) {
    const std::string english = RandomFile(random);
    const std::string translation = RandomFile(random);
    ASSERT_EQ(translation, RoundTrip(english, translation, byGettext && i % 2 == 0)) << english;
  }
}

TEST_F(LmkutilPoTest, EntriesTellTranslatorsWhatTheyNeed) {
  const std::string english = folder_.Write("en.lmtrb", kEnglish);
  const std::string german =
      folder_.Write("de.lmtrb", "QUIT.value=Ende\nHELLO.value={0}, hallo\nHELLO.note=du\n");
  EXPECT_EQ(0, RunTool({"strings", "export", english, german, folder_.File("de.po")}).exitCode);
  const std::string po = folder_.Read("de.po");
  EXPECT_THAT(po, HasSubstr("\"Language: de\\n\""));
  EXPECT_THAT(po, HasSubstr("\n# note: du\n#. Shown at the start.\n#. a name\n"));
  EXPECT_THAT(po, HasSubstr("en.lmtrb:4\n#, python-brace-format\nmsgctxt \"HELLO\"\nmsgid \"Hello {0}\"\n"
                            "msgstr \"{0}, hallo\"\n\n"));
  EXPECT_THAT(po, HasSubstr("msgctxt \"LINES\"\nmsgid \"\"\n\"one\\n\"\n\"\\ttwo\\n\"\nmsgstr \"\"\n"));
  EXPECT_THAT(po, HasSubstr("en.lmtrb:10\nmsgctxt \"BRACES\"\n"));  // "{x}" is no placeholder: no flag
  EXPECT_LT(po.find("\"QUIT\""), po.find("\"EMPTY\""));
  EXPECT_LT(po.find("\"EMPTY\""), po.find("\"HELLO\""));
}

TEST_F(LmkutilPoTest, EditedFilesAreUnderstood) {
  const std::string po =
      "\xEF\xBB\xBF# Italian texts\n#\nmsgid \"\"\nmsgstr \"\"\n\"Project-Id-Version: viewer 2\\n\"\n"
      "\"PO-Revision-Date: 2026-01-02 03:04+0100\\n\"\n\"Last-Translator: Jo <jo@example.org>\\n\"\n"
      "\"X-Generator: An editor 3\\n\"\n\"X-Bookmarks: 1\\n\"\n\"X-Empty: \\n\"\n\n"
      "# watch the case\n#. a name\n#: en/a.lmtrb:4 en/b.lmtrb:5\n#, no-wrap, python-brace-format\n"
      "#| msgid \"Hello\"\nmsgctxt \"HELLO\" msgid \"Hello \"\r\n\"{0}\"\nmsgstr \"Ciao \\x7B\" \"\\060}\"\n"
      "# later\nmsgctxt \"QUIT\"\nmsgid \"Quit\"\nmsgstr \"\"\n"
      "# gone\n#, fuzzy\n#~ msgctxt \"OLD\"\n#~ msgid \"Old\"\n#~ msgstr \"Vecchio\"\n";
  const std::string out = folder_.File("it.lmtrb");
  const ChildResult result = RunTool({"strings", "import", folder_.Write("it.po", po), out});
  EXPECT_EQ("Translated: 1, untranslated: 1, fuzzy: 0, obsolete: 1\n", result.out) << result.err;
  const std::string imported =
      "# Italian texts\n# PO-Revision-Date: 2026-01-02 03:04+0100\n# Last-Translator: Jo <jo@example.org>\n"
      "# X-Bookmarks: 1\n\n# watch the case\nHELLO.value=Ciao {0}\nQUIT.comment=later\n";
  EXPECT_EQ(imported, lmktest::ReadWholeFile(out));
  const std::string again = RoundTrip(kEnglish, imported, false);
  EXPECT_EQ(imported, again);
  const std::string exported = folder_.Read("it.po");
  for (const char* kept : {"\"Last-Translator: Jo <jo@example.org>\\n\"", "\"X-Bookmarks: 1\\n\"",
                           "\n# watch the case\n", "\n# comment: later\n"})
    EXPECT_THAT(exported, HasSubstr(kept));
}

TEST_F(LmkutilPoTest, FuzzyTranslationsAreTakenOverOnlyOnDemand) {
  const std::string entries =
      "#, fuzzy\nmsgctxt \"A\"\nmsgid \"a\"\nmsgstr \"x\"\n\nmsgctxt \"B\"\nmsgid \"b\"\nmsgstr \"y\"\n";
  const ChildResult left = Import(entries);
  EXPECT_EQ(0, left.exitCode);
  EXPECT_THAT(left.out, HasSubstr("in.po:4:1: warning: the translation of \"A\" is fuzzy and was left out"));
  EXPECT_THAT(left.out, HasSubstr("\nTranslated: 1, untranslated: 0, fuzzy: 1, obsolete: 0\n"));
  EXPECT_EQ("B.value=y\n", folder_.Read("in.lmtrb"));
  EXPECT_EQ("Translated: 2, untranslated: 0, fuzzy: 0, obsolete: 0\n", Import(entries, {"--fuzzy"}).out);
  EXPECT_EQ("A.value=x\nB.value=y\n", folder_.Read("in.lmtrb"));
}

TEST_F(LmkutilPoTest, FaultsAreToldAndNothingIsWritten) {
  struct Case {
    std::string entries;
    const char* finding;
  };
  const std::string good = "msgctxt \"A\"\nmsgid \"a\"\nmsgstr \"x\"\n";
  for (const Case& c :
       {Case{good + "msgid \"b\"\nmsgstr \"y\"\n", ":7:1: error: no msgctxt"},
        Case{good + "msgctxt \"a.b\"\nmsgid \"b\"\nmsgstr \"y\"\n", ":7:1: error: no msgctxt"},
        Case{good + "msgctxt \"# b\"\nmsgid \"b\"\nmsgstr \"y\"\n", ":7:1: error: no msgctxt"},
        Case{good + "\n" + good, ":8:1: error: the message \"A\" is in line 4 already"},
        Case{good + "msgctxt \"B\"\nmsgid \"b\"\nmsgid_plural \"bs\"\nmsgstr[0] \"y\"\nmsgstr[1] \"z\"\n",
             ":7:1: error: the message \"B\" has plural forms"},
        Case{good + "msgctx \"B\"\n", ":7:1: error: this cannot stand in a PO file"},
        Case{good + "msgid \"é\" oops\n", ":7:11: error: this cannot stand in a PO file"},
        Case{good + "msgid \"b\n\"\nmsgstr \"\"\n", ":7:7: error: this cannot stand in a PO file"},
        Case{good + "msgid \"\\q\"\n", ":7:7: error: this cannot stand in a PO file"},
        Case{good + "msgid \"b\"\nmsgstr \"a\\0b\"\n", ":8:8: error: this cannot stand in a PO file"},
        Case{good + "msgid \"b", ":7:7: error: this cannot stand in a PO file"},
        Case{good + "msgid", ":7:6: error: this cannot stand in a PO file"},
        Case{good + "msgstr \"b\"\n", ":7:1: error: this cannot stand in a PO file"},
        Case{good + "# \xE4\n", ":7:3: error: the byte E4 is not UTF-8 here"},
        Case{"msgctxt \"A\"\nmsgid \"a\"\nmsgstr \"\"\n", ":1:1: error: nothing is translated"}}) {
    const ChildResult result = Import(c.entries);
    EXPECT_EQ(1, result.exitCode) << c.entries;
    EXPECT_THAT(result.out, HasSubstr(c.finding)) << c.entries;
    EXPECT_THAT(result.out, Not(HasSubstr("Translated:")));
    EXPECT_EQ("", folder_.Read("in.lmtrb"));
  }
  EXPECT_THAT(Import("msgctxt \"A\"\nmsgid \"{0}\"\nmsgstr \"x\"\n").out,
              HasSubstr(":4:1: warning: the translation of \"A\" has other placeholders (none) than the "
                        "original ({0})"));
}

TEST_F(LmkutilPoTest, NothingIsOverwrittenByMistake) {
  const std::string english = folder_.Write("en.lmtrb", kEnglish);
  const std::string german = folder_.Write("de.lmtrb", "QUIT.value=Ende\n");
  const std::string faulty = folder_.Write("x.lmtrb", "QUIT.value=Ende\nHELLO.value=Hallo");
  struct Case {
    Texts arguments;
    int status;
  };
  const std::string po = folder_.Write("a.po", "msgctxt \"A\"\nmsgid \"a\"\nmsgstr \"x\"\n");
  for (const Case& c :
       {Case{{"export", english, german}, 2}, Case{{"export", english}, 2}, Case{{"import", po, po}, 2},
        Case{{"import", po}, 2}, Case{{"export", english, faulty, folder_.File("x.po")}, 1},
        Case{{"export", english, folder_.File("none.lmtrb"), folder_.File("x.po")}, 1},
        Case{{"import", folder_.File("none.po"), german}, 1},
        Case{{"import", po, folder_.File("no/such/folder.lmtrb")}, 1}}) {
    Texts arguments{"strings"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(c.status, result.exitCode) << testing::PrintToString(arguments);
    EXPECT_NE("", result.err);
  }
  EXPECT_EQ("QUIT.value=Ende\n", lmktest::ReadWholeFile(german));
  EXPECT_EQ("", folder_.Read("x.po"));
}

}  // namespace
