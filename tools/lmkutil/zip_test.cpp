// The commands over zip archives, as a program.
#include <filesystem>
#include <string>
#include <vector>

#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/testing/zip_bytes.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::MakeZip;
using lmktest::RunTool;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ZipCommandTest : public testing::Test {
 protected:
  ZipCommandTest() {
    du::FileSystem::BuildPath(folder_.File("in/sub/empty"), false);
    folder_.Write("in/a", "first");
    folder_.Write("in/sub/b", std::string(10'000, 'b'));
    folder_.Write("in/sub/c", "third");
  }

  // Expects success and returns the output.
  std::string Run(const std::vector<std::string>& arguments) {
    const ChildResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  std::string PathOf(const char* name) const { return folder_.File(name); }

  lmktest::TempDir folder_{"lmkutil zip \xC3\xA4"};
};

// The name in an archive of a file of the folder: its path without the root.
std::string Without(const std::string& path, char separator) {
  std::string name = path.substr(path.find(separator) + 1);
  for (char& c : name) c = c == '\\' ? '/' : c;
  return name;
}

TEST_F(ZipCommandTest, ThereAndBack) {
  const std::string archive = PathOf("archive.zip");
  EXPECT_THAT(Run({"zip", "create", "-x", PathOf("in/sub/c"), archive, PathOf("in")}),
              StartsWith("Members: 3, bytes: 10005, archive: "));
  const std::string prefix =
      Without(PathOf("in"), PathOf("in").find('\\') == std::string::npos ? '/' : '\\') + "/";
  const std::string list = Run({"zip", "list", archive});
  for (const char* name : {"a", "sub/b", "sub/empty/"})
    EXPECT_THAT(list, HasSubstr("  " + prefix + name + "\n"));
  EXPECT_THAT(list, HasSubstr("Members: 3, bytes: 10005, packed: "));
  EXPECT_EQ(Run({"zip", "test", archive}), "Members: 3, bytes: 10005, faults: 0\n");
  EXPECT_EQ(Run({"zip", "extract", "-d", PathOf("out"), archive}), "Members: 3, bytes: 10005\n");
  EXPECT_EQ(lmktest::ReadWholeFile(PathOf("out") + "/" + prefix + "sub/b"), std::string(10'000, 'b'));
  EXPECT_TRUE(du::FileSystem::DirExists((PathOf("out") + "/" + prefix + "sub/empty").c_str()));
  EXPECT_EQ(Run({"zip", "extract", archive, prefix + "a", "-d", PathOf("one")}), "Members: 1, bytes: 5\n");
}

TEST_F(ZipCommandTest, FailuresAreOneLineThatSaysWhatToDo) {
  const std::string good = folder_.Write("good.zip", MakeZip({{"a", "1"}}));
  const std::string foreign = folder_.Write("foreign.zip", "no archive");
  lmktest::ZipPart damaged{"b\x1B\xC2\x9B", "text"};
  damaged.crc = 1;
  const std::string part = folder_.Write("part.zip", MakeZip({{"a", "1"}, damaged}));
  const std::string unsafe = folder_.Write("unsafe.zip", MakeZip({{"../x", "1"}}));
  const std::string missing = PathOf("missing");
  struct Case {
    std::vector<std::string> arguments;
    int status;
    std::string err;
  };
  const Case cases[] = {
      {{"zip"}, 2, "lmkutil: a command or an argument is missing; see \"lmkutil zip --help\"\n"},
      {{"zip", "create", missing},
       2,
       "lmkutil: a command or an argument is missing; see \"lmkutil zip create --help\"\n"},
      {{"zip", "list", missing},
       1,
       "lmkutil: cannot read \"" + missing + "\"; check the path and the permissions\n"},
      {{"zip", "list", foreign},
       1,
       "lmkutil: \"" + foreign +
           "\" is not a zip archive, or its table of contents is damaged; get it anew\n"},
      {{"zip", "extract", good, "b"},
       1,
       "lmkutil: there is no member \"b\" in \"" + good + "\"; \"lmkutil zip list " + good +
           "\" shows the ones it has\n"},
      {{"zip", "test", part}, 1, "lmkutil: \"b??\" is left out: it is damaged; get the archive anew\n"},
      {{"zip", "extract", "-d", PathOf("out"), unsafe},
       1,
       "lmkutil: nothing is unpacked: the member \"../x\" would lie outside of the folder, or its name means "
       "no file; name the members that you want\n"},
      {{"zip", "create", PathOf("new.zip"), missing},
       1,
       "lmkutil: cannot read \"" + missing + "\"; check the path and the permissions\n"},
      {{"zip", "create", PathOf("no/new.zip"), PathOf("in")},
       1,
       "lmkutil: cannot write \"" + PathOf("no/new.zip") +
           "\"; check the path, the permissions and the disk\n"}};
  for (const Case& c : cases) {
    const ChildResult result = RunTool(c.arguments);
    EXPECT_EQ(result.exitCode, c.status);
    EXPECT_EQ(result.err, c.err);
  }
  EXPECT_FALSE(du::FileSystem::FileExists(PathOf("new.zip").c_str()));
  EXPECT_FALSE(du::FileSystem::FileExists(PathOf("x").c_str()));
}

// The walk comes back out of a folder that it may not pass, and goes on.
TEST_F(ZipCommandTest, ClosedFoldersLeaveTheOthers) {
  const std::string unprivileged = "/usr/bin/setpriv";
  if (!lmktest::CanPressCtrlC() || !std::filesystem::exists(unprivileged))
    GTEST_SKIP() << "no permissions here, or no program that gives up root's rights";
  for (const char* name : {"k", "l", "m", "n"}) {
    std::filesystem::create_directories(PathOf("tree") + "/" + name);
    folder_.Write(std::string("tree/") + name + "/file", name);
  }
  const std::vector<std::string> closed{PathOf("tree/l"), PathOf("tree/m")};
  for (const std::string& path : closed) std::filesystem::permissions(path, std::filesystem::perms::none);
  const std::vector<std::string> command{lmktest::ToolPath(), "zip", "create", PathOf("tree.zip"),
                                         PathOf("tree")};
  ChildResult result = lmktest::RunChild(command, {{"LUMORA_LANG", "en"}});
  if (result.exitCode == 0) {  // of root
    std::vector<std::string> all{unprivileged, "--bounding-set=-dac_override,-dac_read_search",
                                 "--inh-caps=-dac_override,-dac_read_search"};
    all.insert(all.end(), command.begin(), command.end());
    result = lmktest::RunChild(all, {{"LUMORA_LANG", "en"}});
  }
  for (const std::string& path : closed)
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  if (result.err.starts_with("setpriv")) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.exitCode, 1);
  for (const std::string& path : closed) {
    const std::string line = "lmkutil: cannot read \"" + path + "/\"; check the path and the permissions\n";
    EXPECT_EQ(result.err.find(line), result.err.rfind(line)) << "once";
    EXPECT_THAT(result.err, HasSubstr(line));
  }
  EXPECT_THAT(Run({"zip", "test", PathOf("tree.zip")}), StartsWith("Members: 2, "));
}

TEST_F(ZipCommandTest, WhatAQueryFinds) {
  const std::string catalogue = PathOf("in.lmkcat");
  const std::string archive = PathOf("archive.zip");
  Run({"catalog", "-o", catalogue, PathOf("in")});
  EXPECT_THAT(Run({"zip", "create", archive, "--from-query", catalogue, "<name> EQ <[bc]>"}),
              StartsWith("Members: 2, "));
  EXPECT_THAT(Run({"zip", "list", archive}), HasSubstr("in/sub/c\n"));
  const ChildResult result = RunTool({"zip", "create", archive, "--from-query", catalogue, "<name"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_NE(result.err, "");
}

}  // namespace
