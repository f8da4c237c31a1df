// The command "catalog", as its users meet it.
#include <filesystem>
#include <string>
#include <system_error>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::RunTool;
using testing::HasSubstr;

class CatalogTest : public testing::Test {
 protected:
  CatalogTest() {
    folder_.Write("gear.prt.12", "\x05\x06\x13");
    folder_.Write("ä b.txt", "123456789");
  }

  lmktest::TempDir folder_{"files ä 日"};
  lmktest::TempDir out_{"out ä 日"};
  const std::string file_ = out_.File("a.lmkcat");
};

TEST_F(CatalogTest, KeepsWhatItFinds) {
  const ChildResult result = RunTool({"catalog", "-o", file_, folder_.Path()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");  // and no progress where nobody looks
  EXPECT_THAT(result.out, HasSubstr("Files: 2, bytes: 12, folders: 1\n"));
  du::Dbase records;
  ASSERT_EQ(lmkutil::LoadCatalogue(file_, records), nullptr);
  const auto value = [&](const char* query, const char* name) {
    const auto ids = records.PerformQuery(query);
    const auto found =
        ids.size() == 1 ? records.GetAttributes(ids.front(), name) : du::Dbase::AttributeValueList();
    return found.size() == 1 ? std::string(found.front().value) : "";
  };
  EXPECT_EQ(value("<version>", "extension"), "prt");
  EXPECT_EQ(value("<version>", "version"), "12");
  EXPECT_EQ(value("<version>", "directory"), folder_.Path());
  EXPECT_EQ(value("<kind> EQ <text>", "path"), folder_.File("ä b.txt"));
  EXPECT_EQ(value("<kind> EQ <text>", "crc32"), "CBF43926");
  EXPECT_EQ(value("<name> EQ <ä b[.]txt>", "size"), "9");
  EXPECT_EQ(value("NOT <version>", "version"), "");
}

TEST_F(CatalogTest, SaysWhatToDoAfterAFailure) {
  const std::string missing = folder_.File("missing");
  const ChildResult noFolder = RunTool({"catalog", "-o", file_, missing});
  EXPECT_EQ(noFolder.exitCode, 1);
  EXPECT_EQ(noFolder.err, "lmkutil: there is no folder \"" + missing +
                              "\" that can be read; check the path and the permissions\n");
  const ChildResult noPlace = RunTool({"catalog", "-o", missing + "/a", folder_.Path()});
  EXPECT_EQ(noPlace.exitCode, 1);
  EXPECT_THAT(noPlace.err, HasSubstr("cannot write"));
  EXPECT_EQ(RunTool({"catalog", "a", "b"}).exitCode, 2);
  EXPECT_EQ(RunTool({"catalog", "-o", file_, ""}).exitCode, 2);
}

// With a file that it takes seconds to read.
TEST_F(CatalogTest, LeavesTheOldCatalogueWhenInterrupted) {
  const std::string presser = "/usr/bin/timeout";
  if (!lmktest::SelfPath().starts_with('/') || !std::filesystem::exists(presser))
    GTEST_SKIP() << "there is no program here that presses Ctrl-C";
  out_.Write("a.lmkcat", "old");
  const std::string large = folder_.Write("large", "");
  std::error_code error;
  std::filesystem::resize_file(std::u8string(large.begin(), large.end()), std::uintmax_t{1} << 36, error);
  if (error) GTEST_SKIP() << "no file with a hole here: " << error.message();
  // A busy machine takes its time until the tool minds the key; the file with the hole takes it much longer.
  // In the foreground the key is pressed once; else the whole group gets it too, and a second one ends the
  // tool.
  const ChildResult result =
      lmktest::RunChild({presser, "--foreground", "--preserve-status", "-s", "INT", "2", lmktest::ToolPath(),
                         "catalog", "-o", file_, folder_.Path()},
                        {{"LUMORA_LANG", "en"}});
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "lmkutil: interrupted; \"" + file_ + "\" is as it was\n");
  EXPECT_EQ(out_.Read("a.lmkcat"), "old");
}

}  // namespace
