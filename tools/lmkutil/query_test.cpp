// The command "query".
#include <filesystem>
#include <string>
#include <vector>

#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::RunTool;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A catalogue of four files.
class QueryCommand : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(dir_.File("files/old"));
    dir_.Write("files/a.txt", "text\n");
    dir_.Write("files/old/b.txt", "more text\n");
    dir_.Write("files/with, comma.bin", std::string("\0\xFF", 2));
    dir_.Write("files/gear.prt.12", "part\n");
    MakeCatalogue();
  }
  void MakeCatalogue() const {
    ASSERT_EQ(0, RunTool({"catalog", "-o", catalogue_, dir_.File("files")}).exitCode);
  }
  ChildResult Run(const std::string& query, const std::string& option = "") const {
    std::vector<std::string> arguments{"query", catalogue_, query};
    if (!option.empty()) arguments.push_back(option);
    return RunTool(arguments);
  }

  lmktest::TempDir dir_;
  const std::string catalogue_ = dir_.File("files.lmkcat");
};

TEST_F(QueryCommand, ShowsATable) {
  const ChildResult result = Run("<extension> EQ <txt> AND NOT <directory> EQ <.*old>");
  EXPECT_EQ(0, result.exitCode);
  EXPECT_THAT(result.out, StartsWith("size  time "));
  EXPECT_THAT(result.out, HasSubstr("\n   5  2"));
  EXPECT_THAT(result.out, HasSubstr("a.txt\nFiles: 1\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("b.txt")));
  EXPECT_THAT(Run("<name> EQ <none>").out, EndsWith("Files: 0\n"));
}

TEST_F(QueryCommand, PrintsJsonAndCsv) {
  const std::string json = Run("<extension> EQ <prt>", "--json").out;
  EXPECT_THAT(json, StartsWith("{\"count\": 1, \"records\": [\n  {\"path\": "));
  EXPECT_THAT(
      json, HasSubstr("\"name\": \"gear.prt.12\", \"extension\": \"prt\", \"version\": \"12\", \"size\": 5"));
  EXPECT_THAT(json, EndsWith("\"}]}\n"));
  EXPECT_EQ("{\"count\": 0, \"records\": []}\n", Run("<none>", "--json").out);

  const std::string csv = Run("<kind> EQ <binary>", "--csv").out;
  EXPECT_THAT(csv, StartsWith("path,directory,name,extension,version,size,time,kind,crc32\n\""));
  EXPECT_THAT(csv, HasSubstr(",\"with, comma.bin\",bin,,2,2"));
}

TEST_F(QueryCommand, PointsAtTheMistake) {
  struct Case {
    std::string query;
    std::string message;
    std::string picture;
  };
  const std::vector<Case> cases{
      {"<kind> EG <text>", "from character 8 on: write \"EQ\"", "\n  <kind> EG <text>\n         ^\n"},
      {"<kind", "from character 1 on: nothing closes this \"<\"", "\n  <kind\n  ^\n"},
      {"", "from character 1 on: a term must stand here", "\n  \n  ^\n"},
      {"<a>\tAND\n", "from character 9 on: a term", "\n  <a> AND \n          ^\n"},
      {"<a> EQ <x(>", "from character 11 on: the pattern is no regular expression (",
       "\n  <a> EQ <x(>\n            ^\n"},
      {"<\xE6\x97\xA5\xC3\xA4> OR x", "from character 9 on: a term", "> OR x\n           ^\n"},
      {"<" + std::string(100, 'a') + "> or <b>", "from character 104 on: write \"AND\"",
       "\n  ..." + std::string(48, 'a') + "> or <b>\n" + std::string(55, ' ') + "^\n"},
  };
  for (const Case& c : cases) {
    const ChildResult result = Run(c.query);
    EXPECT_EQ(2, result.exitCode) << c.query;
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, StartsWith("lmkutil: the query is not understood "));
    EXPECT_THAT(result.err, HasSubstr(c.message));
    EXPECT_THAT(result.err, EndsWith(c.picture));
  }
}

TEST_F(QueryCommand, WarnsOfUnknownNames) {
  const std::string names = "path, directory, name, extension, version, size, time, kind, crc32";
  const ChildResult result =
      Run("<name> EQ <EQ <a>\tAND (<nam\xC2\x9B> NE <x> OR\n<Kind>EQ<y> OR <kind>) XOR NOT <Kind>");
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("lmkutil: no file has an attribute \"nam?\"; the names are " + names +
                "\nlmkutil: no file has an attribute \"Kind\"; the names are " + names + "\n",
            result.err);
  EXPECT_EQ("", Run("<version> EQ <9> OR <size>").err);
}

TEST_F(QueryCommand, SaysWhatElseIsWrong) {
  dir_.Write("files/" + std::string(40, 'a'), "");
  MakeCatalogue();
  const ChildResult costly = Run("<name> EQ <(a+)+(b|c)>");
  EXPECT_EQ(1, costly.exitCode);
  EXPECT_THAT(costly.err, HasSubstr("Regex exceeds the match limit."));
  EXPECT_EQ(1, RunTool({"query", catalogue_ + ".none", "<a>"}).exitCode);
  EXPECT_EQ(2, RunTool({"query", catalogue_}).exitCode);
  const ChildResult both = RunTool({"query", catalogue_, "<a>", "--json", "--csv"});
  EXPECT_EQ(2, both.exitCode);
  EXPECT_EQ("lmkutil: two of the arguments exclude each other; see \"lmkutil query --help\"\n", both.err);
}

}  // namespace
