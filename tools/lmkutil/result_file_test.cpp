// What the commands do to the file that they are to write.
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/testing/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using lmktest::ChildResult;
using lmktest::RunTool;

class ResultFileTest : public testing::Test {
 protected:
  using Arguments = std::vector<std::string>;

  ResultFileTest() { fs::create_directory(dir_.File("folder")); }

  // Commands that write the file.
  std::vector<Arguments> CommandsFor(const std::string& file) const {
    return {{"strings", "pseudo", dir_.Write("a.lmtrb", "A.value=x\n"), file},
            {"dump", "--extract", "1",
             dir_.Write("a.gz", std::string("\x1F\x8B\x08\0\0\0\0\0\0\x03\x03\0", 12) + std::string(8, '\0')),
             file},
            {"catalog", "-o", file, dir_.File("folder")}};
  }

  lmktest::TempDir dir_;
};

// One that is run as root must not make a file of /dev/null. A pipe stands for it here.
TEST_F(ResultFileTest, OnlyFilesAreReplaced) {
  const std::string pipe = dir_.File("pipe");
  if (!lmktest::CanPressCtrlC() || lmktest::RunChild({"/bin/sh", "-c", "mkfifo \"$0\"", pipe}).exitCode != 0)
    GTEST_SKIP() << "no pipes in folders here";
  for (const Arguments& arguments : CommandsFor(pipe)) {
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, 1) << arguments[0];
    EXPECT_EQ(result.err,
              "lmkutil: cannot write \"" + pipe + "\"; check the path, the permissions and the disk\n");
    EXPECT_TRUE(fs::is_fifo(pipe));
  }
}

TEST_F(ResultFileTest, LinksStayLinks) {
  const std::string file = dir_.Write("file", "old");
  const std::string link = dir_.File("link");
  std::error_code error;
  fs::create_symlink("file", link, error);
  if (error) GTEST_SKIP() << "no links here: " << error.message();
  for (const Arguments& arguments : CommandsFor(link)) {
    dir_.Write("file", "old");
    EXPECT_EQ(RunTool(arguments).exitCode, 0) << arguments[0];
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_NE(dir_.Read("file"), "old") << arguments[0];
  }
}

TEST_F(ResultFileTest, PermissionsStay) {
  const std::string file = dir_.Write("file", "old");
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
  const fs::perms before = fs::status(file).permissions();
  for (const Arguments& arguments : CommandsFor(file)) {
    dir_.Write("file", "old");
    EXPECT_EQ(RunTool(arguments).exitCode, 0) << arguments[0];
    EXPECT_NE(dir_.Read("file"), "old") << arguments[0];
    EXPECT_EQ(fs::status(file).permissions(), before) << arguments[0];
  }
}

TEST_F(ResultFileTest, NothingElseIsTouched) {
  dir_.Write("out.part", "mine");
  for (const Arguments& arguments : CommandsFor(dir_.File("out"))) {
    EXPECT_EQ(RunTool(arguments).exitCode, 0) << arguments[0];
    EXPECT_EQ(dir_.Read("out.part"), "mine");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_.Path()), fs::directory_iterator()),
              5);  // a.gz, a.lmtrb, folder, out, out.part
  }
}

}  // namespace
