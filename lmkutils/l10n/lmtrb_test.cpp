#include "lmkutils/l10n/lmtrb.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/l10n/testing/reference_table.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/testing/shortage.h"
#include "lmkutils/testing/trace_recorder.h"

namespace {

using du::Lmtrb;
using Args = std::vector<std::string>;

constexpr char kBom[] = "\xEF\xBB\xBF";

du::SmartPtr<Lmtrb> Load(const std::string& bytes, Lmtrb::PseudoLocalizeOption option = Lmtrb::kAsWritten) {
  std::istringstream in(bytes);
  return du::MakeShared<Lmtrb>(in, "test.lmtrb", option);
}

// What loading ends with; "" when it succeeds.
std::string LoadError(const std::string& bytes) {
  try {
    Load(bytes);
    return "";
  } catch (const du::LocalizerError& error) {
    return error.what();
  }
}

// The message, or "(none)".
std::string Build(const Lmtrb& table, const char* tag, const Args& args = {}) {
  std::ostringstream out;
  const bool built = table.BuildLocalizedString(out, tag, false, args);
  EXPECT_TRUE(built || out.str().empty());
  return built ? out.str() : "(none)";
}

// The text of a single value, with its placeholders.
std::string TextOf(const std::string& value) {
  du::HashMap<du::Symbol, du::Symbol> map;
  Load("A.value=" + value + "\n")->AddAllStrings(map);
  return map.at(du::Symbol("A"));
}

TEST(LmtrbFormat, EntriesCommentsAndBlanks) {
  struct Case {
    std::string bytes;
    std::vector<std::pair<const char*, const char*>> messages;
  };
  const std::vector<Case> cases{
      {"# error texts\nERR.value=Cannot open.\nERR.comment=shown\nSIZE.value=big\n",
       {{"ERR", "Cannot open."}, {"SIZE", "big"}}},
      {std::string(kBom) + "A.value=x\n", {{"A", "x"}}},
      {"\xEFzzA.value=x\n", {{"A", "x"}}},
      {"\xEF\n\nA.value=x\n", {{"A", "x"}}},
      {" \t\r\n\v\f# note\n  # a.value=b\nA.value=x\n", {{"A", "x"}}},
      {"A.value= .=#  \n", {{"A", " .=#  "}}},
      {"A#B.value=x\n", {{"A#B", "x"}}},
      {".value=x\n", {{"", "x"}}},
      {"in ner .value=x\n", {{"in ner ", "x"}}},
      {"A.value=\n", {{"A", ""}}},
      {"A.value=1\nA.Value=2\nA.value =3\nA. value=4\nA.=5\nA.value.x=6\n", {{"A", "1"}}},
      {"A.value=x\nB.value=y", {{"A", "x"}}},
      {"A.value=x\nB.va", {{"A", "x"}}},
      {"A.value=x\nB", {{"A", "x"}}},
      {"A.value=x\n#", {{"A", "x"}}},
      {"AB.value=1\nA.value=2\n", {{"AB", "1"}, {"A", "2"}}},
      {"A.value=x\r\n", {{"A", "x\r"}}},
      {std::string("A.value=x\0y\n", 12), {{"A", "x"}}},
      {"\xC3\xA4.value=\xE6\x97\xA5\xFF\n", {{"\xC3\xA4", "\xE6\x97\xA5\xFF"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes);
    const auto table = Load(c.bytes);
    du::HashMap<du::Symbol, du::Symbol> map;
    table->AddAllStrings(map);
    EXPECT_EQ(c.messages.size(), map.size());
    for (const auto& [tag, text] : c.messages) {
      EXPECT_EQ(text, Build(*table, tag));
      EXPECT_TRUE(map.contains(tag) && map.at(tag) == text) << tag;
    }
    for (const char* tag : {"ABC", "B", "a", "A.value", "\xFF", "\x01"})
      EXPECT_EQ("(none)", Build(*table, tag)) << tag;
  }
}

TEST(LmtrbFormat, FaultsRejectTheWholeFile) {
  constexpr const char* kNoContent = "No recognizable content.";
  const std::vector<std::pair<std::string, const char*>> cases{
      {"", kNoContent},
      {"\xEF", kNoContent},
      {kBom, kNoContent},
      {" \n# only a comment\n", kNoContent},
      {"A.value=x", kNoContent},
      {"A.note=x\n", kNoContent},
      {"A.value=1\nA value\n", kNoContent},
      {"A.value=1\nA.value\n", kNoContent},
      {"A.value=1\nB\n.value=x\n", kNoContent},
      {std::string("A.value=1\nB\0.value=x\n", 21), kNoContent},
      {std::string("A.value=1\n\0", 11), kNoContent},
      {std::string("\xFF\xFE"
                   "A\0.\0v\0",
                   8),
       kNoContent},
      {"A.value=1\nA.value=2\n", "Duplicate tag \"A\"."},
      {".value=1\n.value=2\n", "Duplicate tag \"\"."},
      {"B.value=1\nA.value=1\nA.value=2\nB.value=2\n", "Duplicate tag \"A\"."},
      {"A.value=1\nA.value=2\nbad line\n", "Duplicate tag \"A\"."},
      {"A.value=1\nbad line\nA.value=2\n", kNoContent},
      {"A.value=1\nA.value=2", ""},
      {"A.value=1\nA.note=2\n", ""},
  };
  for (const auto& [bytes, error] : cases) EXPECT_EQ(error, LoadError(bytes)) << bytes;
}

TEST(LmtrbFormat, StreamThatFailsIsNoEnd) {
  std::istringstream good("A.value=x\n");
  EXPECT_NO_THROW(Lmtrb(good, "", Lmtrb::kAsWritten));
  EXPECT_TRUE(good.eof());
  std::istringstream bad("A.value=x\nB\n");
  EXPECT_THROW(Lmtrb(bad, "", Lmtrb::kAsWritten), du::LocalizerError);
  EXPECT_TRUE(bad.fail());
  std::istringstream failed("A.value=x\n");
  failed.setstate(std::ios::failbit);
  EXPECT_THROW(Lmtrb(failed, "", Lmtrb::kAsWritten), du::LocalizerError);
  std::istream none(nullptr);
  EXPECT_THROW(Lmtrb(none, "", Lmtrb::kAsWritten), du::LocalizerError);
}

TEST(LmtrbFormat, Escapes) {
  const std::vector<std::pair<const char*, const char*>> cases{
      {R"(\q)", R"(\q)"},        {R"(\\n)", R"(\n)"},        {R"(\n)", "\n"},     {R"(\")", "\""},
      {R"(\?\r\t)", "?\r\t"},    {R"(a\)", R"(a\)"},         {R"(\\\)", R"(\\)"}, {R"(\{0})", R"(\{0})"},
      {"\\\xC3\\n", "\\\xC3\n"}, {R"(\a\\b\n)", "\\a\\b\n"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(text, TextOf(value)) << value;
}

TEST(LmtrbFormat, Placeholders) {
  struct Case {
    const char* value;
    Args args;
    const char* message;
  };
  const std::vector<Case> cases{
      {"{1} and {1}", {"no", "yes"}, "yes and yes"},
      {"{x} {} {{0}", {"Z"}, "{x} {} {Z"},
      {"{{0}}", {"Z"}, "{Z}"},
      {"{0}{1}{0}", {"a", "b"}, "aba"},
      {"{2}", {"a", "b", "c"}, "c"},
      {"{00}{001}", {"a", "b"}, "ab"},
      {"{0} and {0", {"Z"}, "Z and {0"},
      {"{0 {0}", {"Z"}, "{0 Z"},
      {"{}{0}", {"Z"}, "{}Z"},
      {"}0{ {-1} { 0} {\xD9\xA0}", {}, "}0{ {-1} { 0} {\xD9\xA0}"},
      {"{\\n0}\\\\{0}", {"Z"}, "{\n0}\\Z"},
      {"{0}", {"{0} \\n {1}"}, "{0} \\n {1}"},
      {"{0}", {""}, ""},
      {"{", {}, "{"},
      {"", {}, ""},
  };
  for (const Case& c : cases) {
    const auto table = Load("A.value=" + std::string(c.value) + "\n");
    EXPECT_EQ(c.message, Build(*table, "A", c.args)) << c.value;
    std::ostringstream out;
    EXPECT_TRUE(table->BuildLocalizedStringFromExternal(out, "other", c.value, false, c.args));
    EXPECT_EQ(c.message, out.str());
    Args more = c.args;
    more.emplace_back("one too many");
    EXPECT_EQ("(none)", Build(*table, "A", more)) << c.value;
  }
  for (const char* huge : {"{99999999999}", "{2147483646}", "{2147483647}", "{18446744073709551616}"}) {
    const auto table = Load("A.value=" + std::string(huge) + "\n");
    EXPECT_EQ("(none)", Build(*table, "A"));
    EXPECT_EQ("(none)", Build(*table, "A", {"x"}));
  }
}

TEST(Lmtrb, MessageWithoutArguments) {
  const auto table = Load("A.value=x\\n\nB.value={0}\nE.value=\n");
  std::ostringstream out;
  EXPECT_TRUE(table->BuildLocalizedString(out, "A", false));
  EXPECT_TRUE(table->BuildLocalizedString(out, "E", false));
  EXPECT_FALSE(table->BuildLocalizedString(out, "B", false));
  EXPECT_FALSE(table->BuildLocalizedString(out, nullptr, false));
  EXPECT_EQ("x\n", out.str());
}

TEST(Lmtrb, TextOfAnyLengthReachesTheStreamWhole) {
  for (const std::size_t length : {0U, 1U, 510U, 511U, 512U, 513U, 1024U, 70000U}) {
    const std::string piece(length, 'x');
    const auto table = Load("A.value=" + piece + "{0}" + piece + "{1}{0}\n");
    EXPECT_EQ(piece + "ab" + piece + piece + "ab", Build(*table, "A", {"ab", piece}));
  }
}

TEST(Lmtrb, BrokenStreamStillCountsAsWritten) {
  const auto table = Load("A.value=x{0}\n");
  std::ostream nowhere(nullptr);
  EXPECT_TRUE(table->BuildLocalizedString(nowhere, "A", true, {"y"}));
}

TEST(Lmtrb, FailuresAreReportedWhenAsked) {
  lmktest::TraceRecorder recorder;
  const auto table = Load("A.value={0} {2}\n");
  std::ostringstream out;
  EXPECT_FALSE(table->BuildLocalizedString(out, "B", true));
  EXPECT_FALSE(table->BuildLocalizedString(out, "A", true));
  EXPECT_FALSE(table->BuildLocalizedString(out, nullptr, true, {}));
  EXPECT_FALSE(table->BuildLocalizedStringFromExternal(out, "X", "{0}", true, {"1", "2"}));
  EXPECT_FALSE(table->BuildLocalizedString(out, "B", false));
  EXPECT_FALSE(table->BuildLocalizedString(out, "A", false, {"1"}));
  const std::vector<lmktest::TracedRecord> records = recorder.Take();
  const std::string start = "LocalizeMessage():- Failed to localize string with table(";
  const std::vector<std::string> expected{start + "Unknown tag \"B\" in  file \"test.lmtrb\".) ",
                                          start +
                                              "could not build localized string for tag \"A\" (Incorrect "
                                              "number of arguments: got 0, expected 3).) ",
                                          start + "Unknown tag \"\" in  file \"test.lmtrb\".) ",
                                          start +
                                              "could not build localized string for tag \"X\" (Incorrect "
                                              "number of arguments: got 2, expected 1).) "};
  ASSERT_EQ(expected.size(), records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(expected[i], records[i].text);
    EXPECT_EQ("utils Lmtrb", records[i].key + " " + records[i].subKey);
    EXPECT_EQ(dp::TraceType::Warning, records[i].type);
  }
}

TEST(Lmtrb, AllStringsInFileOrderAndWithoutReplacing) {
  du::HashMap<du::Symbol, du::Symbol> map;
  map[du::Symbol("B")] = du::Symbol("kept");
  Load("C.value={0}\\t\nB.value=2\nA.value=3\n")->AddAllStrings(map);
  std::vector<std::string> pairs;
  for (const auto& [tag, text] : map) pairs.push_back(std::string(tag) + "=" + std::string(text));
  EXPECT_THAT(pairs, testing::ElementsAre("B=kept", "C={0}\t", "A=3"));
}

// How many of the allocations, and all after them, failed in turn.
int LoadWithoutMemory(lmktest::Memory memory) {
  int failures = 0;
  for (std::uint64_t n = 1;; ++n) {
    // A text that is no symbol yet.
    const std::string tag = "EXHAUSTED_" + std::to_string(static_cast<int>(memory)) + "_" + std::to_string(n);
    du::SmartPtr<Lmtrb> table;
    du::HashMap<du::Symbol, du::Symbol> map;
    auto noMemory = std::make_optional<lmktest::Shortage>(memory, n);
    try {
      table = Load(tag + ".value=text of " + tag + "\n");
      table->AddAllStrings(map);
      break;
    } catch (const std::bad_alloc&) {
      ++failures;
      noMemory.reset();
      EXPECT_TRUE(map.empty());
      if (table) {
        EXPECT_EQ("text of " + tag, Build(*table, tag.c_str()));
      }
    }
  }
  return failures;
}

TEST(Lmtrb, ExhaustedMemoryLeavesNothingBehind) {
  EXPECT_GT(LoadWithoutMemory(lmktest::Memory::kCommonAllocator), 2);
  LoadWithoutMemory(lmktest::Memory::kHeap);  // as often as the allocators' books need some
}

TEST(Lmtrb, PseudoLocalizedTextsKeepEscapesAndPlaceholders) {
  const auto table = Load("A.value=Open {0}\\n\n", Lmtrb::kPseudoLocalize);
  EXPECT_EQ("[Öþéñ file\n ~]", Build(*table, "A", {"file"}));
  std::ostringstream out;
  EXPECT_TRUE(table->BuildLocalizedStringFromExternal(out, "A", "plain", false, {}));
  EXPECT_EQ("plain", out.str());
  EXPECT_EQ("x", Build(*Load("A.value=x\n", static_cast<Lmtrb::PseudoLocalizeOption>(2)), "A"));
}

TEST(Lmtrb, NamesItself) {
  EXPECT_EQ("Lmtrb", std::string(Load("A.value=x\n")->GetDebugClassName()));
}

// Loads the same bytes by both readers and compares everything that can be asked for.
void CompareWithReference(const std::string& bytes) {
  const lmktest::ReferenceTable reference = lmktest::ReadReference(bytes);
  du::SmartPtr<Lmtrb> table;
  std::string error;
  try {
    table = Load(bytes);
  } catch (const du::LocalizerError& failure) {
    error = failure.what();
  }
  ASSERT_EQ(reference.error, error) << bytes;
  if (!table) return;
  du::HashMap<du::Symbol, du::Symbol> map;
  table->AddAllStrings(map);
  std::vector<std::pair<std::string, std::string>> messages;
  for (const auto& [tag, text] : map) messages.emplace_back(tag, text);
  ASSERT_EQ(reference.messages, messages) << bytes;
  for (const auto& [tag, text] : reference.messages) {
    const long long count = lmktest::ReferenceArgumentCount(text);
    EXPECT_EQ("(none)", Build(*table, (tag + "\x02").c_str()));
    if (count > 20) continue;
    Args args;
    for (long long i = 0; i < count; ++i) args.push_back("<" + std::to_string(i) + ">");
    EXPECT_EQ(lmktest::ReferenceRender(text, args), Build(*table, tag.c_str(), args)) << text;
  }
}

TEST(LmtrbAgainstReference, SampleCutAtEveryByte) {
  const std::string sample = std::string(kBom) +
                             "# note\n\n  A.value=Cannot open {0}.\nA.comment=x\n\nAB.value={1} of \\n{0}\\\n"
                             ".value=\n\xC3\xA4 z.value={{2}}\\q\\\\\n#end\nLAST.value={}\n";
  for (std::size_t length = 0; length <= sample.size(); ++length)
    CompareWithReference(sample.substr(0, length));
}

TEST(LmtrbAgainstReference, RandomFiles) {
  const std::vector<std::string> pieces{
      "A", "B",  "ab", ".", "=", "value", ".value=", "\n",   "\n",   "#",
      " ", "\\", "n",  "{", "}", "{0}",   "{12}",    "\xEF", "\xFF", std::string(1, '\0'),
      "\r"};
  std::mt19937 random(11);
  for (int round = 0; round < 30000; ++round) {
    std::string bytes;
    const std::size_t count = random() % 40;
    for (std::size_t i = 0; i < count; ++i) {
      // Mostly whole entries, or hardly a file would load.
      if (random() % 3 == 0)
        bytes +=
            std::string(1, static_cast<char>('a' + random() % 26)) + ".value=" + pieces[random() % 5] + "\n";
      else if (random() % 4 == 0)
        bytes += pieces[random() % pieces.size()];
    }
    ASSERT_NO_FATAL_FAILURE(CompareWithReference(bytes));
  }
}

TEST(LmtrbLarge, LinesLongerThanTheReadersBlocks) {
  for (const std::size_t length : {65534U, 65535U, 65536U, 65537U, 131072U, 200000U}) {
    const std::string text(length, 'v');
    const std::string tag(length, 't');
    CompareWithReference("# " + text + "\nA.value=" + text + "\n" + tag + ".value=x\nB." + tag +
                         "=y\nC.value=z\n");
  }
}

TEST(LmtrbLarge, DeepTagsAndLongLines) {
  const std::string deep(1 << 20, 'd');
  const auto table = Load(deep + ".value=1\n" + deep + "x.value=2\n" + deep.substr(0, 4096) + ".value=3\n");
  EXPECT_EQ("1", Build(*table, deep.c_str()));
  EXPECT_EQ("2", Build(*table, (deep + "x").c_str()));
  EXPECT_EQ("3", Build(*table, deep.substr(0, 4096).c_str()));
  EXPECT_EQ("(none)", Build(*table, deep.substr(1).c_str()));

  std::string braces = "A.value=";  // quadratic unless the closing brace is remembered
  for (int i = 0; i < 5'000'000; ++i) braces += "{x";
  EXPECT_EQ(10'000'001U, Build(*Load(braces + "}\n"), "A").size());
}

TEST(LmtrbLarge, ManyTags) {
  std::string bytes;
  for (int i = 0; i < 100'000; ++i)
    bytes += "TAG_" + std::to_string(i * 7919 % 100'000) + ".value={0}:" + std::to_string(i) + "\n";
  const auto table = Load(bytes);
  for (int i = 0; i < 100'000; i += 997) {
    EXPECT_EQ("x:" + std::to_string(i),
              Build(*table, ("TAG_" + std::to_string(i * 7919 % 100'000)).c_str(), {"x"}));
  }
}

// A stream of 100 MB that is never held as a whole.
class RepeatedBlock : public std::streambuf {
 public:
  RepeatedBlock(std::string block, int count) : block_(std::move(block)), left_(count) {}

 protected:
  int_type underflow() override {
    if (left_-- <= 0) return traits_type::eof();
    setg(block_.data(), block_.data(), block_.data() + block_.size());
    return traits_type::to_int_type(block_[0]);
  }

 private:
  std::string block_;
  int left_;
};

TEST(LmtrbLarge, HundredMegabytes) {
  std::string comments;
  for (int i = 0; i < 10000; ++i) comments += "TAG.comment=" + std::string(87, 'c') + "\n";
  RepeatedBlock onlyComments(comments, 100);
  std::istream in(&onlyComments);
  EXPECT_THROW(Lmtrb(in, "", Lmtrb::kAsWritten), du::LocalizerError);
}

}  // namespace
