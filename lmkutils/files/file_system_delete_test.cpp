// FileSystem: deletion.
#include <filesystem>
#include <string>
#include <system_error>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/directory_tree.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace du {
namespace {

namespace fs = std::filesystem;
using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::HasSubstr;

fs::path Native(const std::string& path) {
  return fs::path(std::u8string(path.begin(), path.end()));
}

// False where links cannot be made.
bool MakeLink(const std::string& target, const std::string& link) {
  std::error_code error;
  if (fs::is_directory(Native(target))) {
    fs::create_directory_symlink(Native(target), Native(link), error);
  } else {
    fs::create_symlink(Native(target), Native(link), error);
  }
  return !error && fs::is_symlink(Native(link));
}

class DeletionTest : public testing::Test {
 protected:
  DeletionTest() { EXPECT_TRUE(FileSystem::AddValidPath((dir_.Path() + "/").c_str())); }
  ~DeletionTest() override {
    if (FileSystem::IsInValidPathsList((dir_.Path() + "/").c_str()))
      FileSystem::RemoveValidPath(dir_.Path().c_str());
  }

  std::string MakeTree() const {
    EXPECT_TRUE(FileSystem::BuildPath(dir_.File("tree/a/b.d"), false));
    dir_.Write("tree/one", "1");
    dir_.Write("tree/a/two", "2");
    dir_.Write(
        "tree/a/b.d/thr\xC3\xA9"
        "e",
        "3");
    return dir_.File("tree");
  }

  const lmktest::TempDir dir_;
};

TEST_F(DeletionTest, OnlyBelowRegisteredDirectories) {
  const lmktest::TempDir other;
  const std::string file = other.Write("file", "x");
  lmktest::TraceRecorder recorder;
  EXPECT_EQ(FileSystem::Unlink(file.c_str(), false), -1);
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kAccessDenied);
  EXPECT_EQ(FileSystem::Rmdir(other.Path().c_str(), false), -1);
  EXPECT_FALSE(FileSystem::DeletePath(other.Path(), false));
  EXPECT_FALSE(FileSystem::DeletePath("", true));
  EXPECT_THAT(
      recorder.TakeTexts(),
      ElementsAre(
          "Could not remove the file " + file + " as it is not part of the valid path list",
          "Could not remove the directory " + other.Path() + " as it is not part of the valid path list",
          "Could not delete the path " + other.Path() + " as it is not part of the valid path list"));
  EXPECT_EQ(other.Read("file"), "x");
  EXPECT_EQ(FileSystem::Unlink(file.c_str(), true), 0);
  EXPECT_EQ(FileSystem::Unlink(file.c_str(), true), -1);
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kFileNotFound);
}

TEST_F(DeletionTest, FilesAndEmptyDirectories) {
  const std::string tree = MakeTree();
  EXPECT_EQ(FileSystem::Unlink(dir_.File("tree/one").c_str(), false), 0);
  EXPECT_EQ(FileSystem::Unlink(dir_.File("tree/a").c_str(), false), -1) << "a directory";
  EXPECT_EQ(FileSystem::Rmdir(dir_.File("tree/a").c_str(), false), -1) << "not empty";
  EXPECT_EQ(FileSystem::Unlink(dir_.File("tree/a/b.d/thr\xC3\xA9"
                                         "e")
                                   .c_str(),
                               false),
            0);
  EXPECT_EQ(FileSystem::Rmdir((dir_.File("tree/a/b.d") + "/").c_str(), false), 0);
}

TEST_F(DeletionTest, Trees) {
  const std::string tree = MakeTree();
  const std::string inner = dir_.File("tree/a/b.d") + "/";
  ASSERT_TRUE(FileSystem::AddValidPath(inner.c_str()));
  EXPECT_TRUE(FileSystem::DeletePath(tree, false));
  EXPECT_FALSE(FileSystem::DirExists(tree.c_str()));
  lmktest::TraceRecorder recorder;
  EXPECT_FALSE(FileSystem::RemoveValidPath(inner.c_str())) << "gone directories leave the list";
  EXPECT_TRUE(FileSystem::DeletePath(dir_.Path(), false));
  EXPECT_FALSE(FileSystem::IsInValidPathsList(dir_.Path().c_str()));
  EXPECT_FALSE(FileSystem::DeletePath(dir_.Path(), false));
}

TEST_F(DeletionTest, RootsAreRefusedEvenByForce) {
  lmktest::TraceRecorder recorder;
  const Arming noSteps(Call::kTreeList, {.count = os::fault::kForEver});  // should it go wrong
  const Arming noRemoval(Call::kDirectoryRemove, {.count = os::fault::kForEver});
  const std::string up = std::string(200, '.');
  std::string aboveAll;
  for (int i = 0; i < 50; ++i) aboveAll += "../";
  for (const std::string& path :
       {std::string("/"), std::string(R"(\\srv\share)"), std::string(R"(\\?\C:\)"),
        std::string(R"(\\?\UNC\srv\share\)"), aboveAll, dir_.Path() + "/" + aboveAll}) {
    EXPECT_FALSE(FileSystem::DeletePath(path, true)) << path;
    EXPECT_EQ(FileSystem::Rmdir(path.c_str(), true), -1) << path;
  }
  EXPECT_EQ(os::fault::CountOf(Call::kTreeList), 0U);
  EXPECT_EQ(os::fault::CountOf(Call::kDirectoryRemove), 0U);
}

TEST_F(DeletionTest, LinksAreRemovedNotFollowed) {
  const lmktest::TempDir outside;
  outside.Write("victim", "alive");
  const std::string tree = MakeTree();
  if (!MakeLink(outside.Path(), dir_.File("tree/to-directory"))) GTEST_SKIP() << "no links can be made here";
  ASSERT_TRUE(MakeLink(outside.File("victim"), dir_.File("tree/a/to-file")));
  ASSERT_TRUE(MakeLink(dir_.File("tree"), dir_.File("tree/a/loop")));
  ASSERT_TRUE(MakeLink(outside.File("nothing"), dir_.File("tree/dangling")));
  ASSERT_TRUE(MakeLink(outside.Path(), dir_.File("link")));
  EXPECT_TRUE(FileSystem::DeletePath(tree, false));
  EXPECT_TRUE(FileSystem::DeletePath(dir_.File("link") + "/", false)) << "the link itself";
  EXPECT_EQ(outside.Read("victim"), "alive");
  EXPECT_FALSE(fs::exists(fs::symlink_status(Native(dir_.File("link")))));
}

// The text leads back into the registered directory, the system would go to the parent of the link's target.
TEST_F(DeletionTest, StepsUpBehindALinkAreNotTakenElsewhere) {
  const lmktest::TempDir outside;
  ASSERT_TRUE(FileSystem::BuildPath(outside.File("sub"), false));
  outside.Write("file", "alive");
  dir_.Write("file", "mine");
  if (!MakeLink(outside.File("sub"), dir_.File("link"))) GTEST_SKIP() << "no links can be made here";
  EXPECT_EQ(FileSystem::Unlink(dir_.File("link/../file").c_str(), false), 0);
  EXPECT_EQ(outside.Read("file"), "alive");
  EXPECT_FALSE(FileSystem::FileExists(dir_.File("file").c_str()));
}

TEST_F(DeletionTest, WhatFailsIsToldAndTheRestDeleted) {
  const std::string tree = MakeTree();
  lmktest::TraceRecorder recorder;
  {
    const Arming fault(Call::kFileRemove, {.error = os::kErrorAccessDenied});
    EXPECT_FALSE(FileSystem::DeletePath(tree, false));
  }
  auto texts = recorder.TakeTexts();
  ASSERT_GE(texts.size(), 2U);
  EXPECT_THAT(texts[0], HasSubstr("Failed to delete file : " + tree));
  EXPECT_THAT(texts[0], HasSubstr(", error: " + os::SystemErrorText(os::kErrorAccessDenied)));
  EXPECT_TRUE(FileSystem::IsInValidPathsList((tree + "/").c_str())) << "to be tried again";
  {
    const Arming fault(Call::kTreeList, {.first = 2, .error = os::kErrorAccessDenied});
    FileSystem::DeletePath(tree, false);
  }
  EXPECT_TRUE(!FileSystem::DirExists(tree.c_str()) || FileSystem::DeletePath(tree, false));
}

// A directory that is moved away in mid-walk: the way back is not there, and nothing else is touched.
TEST_F(DeletionTest, AWalkThatLosesItsWayEnds) {
  const std::string tree = MakeTree();
  lmktest::TraceRecorder recorder;
  const Arming fault(Call::kTreeStep,
                     {.first = 2, .count = os::fault::kForEver, .error = os::kErrorPathNotFound});
  EXPECT_FALSE(FileSystem::DeletePath(tree, false));
  EXPECT_TRUE(FileSystem::DirExists(tree.c_str()));
}

// The seam's own guard against that, without the fault face.
TEST_F(DeletionTest, ATreeNoticesThatItWasMoved) {
  if (os::GetCapabilities().absolutePathsHaveDrive) GTEST_SKIP() << "directories in use cannot be moved here";
  const std::string tree = MakeTree();
  os::Tree* walk = nullptr;
  ASSERT_EQ(os::TreeOpen(tree.c_str(), os::Links::kRefuse, &walk), os::kSuccess);
  EXPECT_EQ(os::TreeLeave(walk), os::kErrorInvalidParameter);
  ASSERT_EQ(os::TreeEnter(walk, "a"), os::kSuccess);
  EXPECT_TRUE(FileSystem::RenameFile(dir_.File("tree/a").c_str(), dir_.File("elsewhere").c_str()));
  EXPECT_EQ(os::TreeLeave(walk), os::kErrorPathNotFound);
  os::TreeClose(walk);
  ASSERT_TRUE(MakeLink(dir_.File("elsewhere"), dir_.File("tree/a")));
  ASSERT_EQ(os::TreeOpen(tree.c_str(), os::Links::kRefuse, &walk), os::kSuccess);
  EXPECT_EQ(os::TreeEnter(walk, "a"), os::kErrorDirectory) << "swapped for a link";
  EXPECT_EQ(os::TreeRemoveFile(walk, "a"), os::kSuccess);
  os::TreeClose(walk);
  EXPECT_EQ(os::TreeOpen(dir_.File("missing").c_str(), os::Links::kRefuse, &walk), os::kErrorFileNotFound);
  EXPECT_EQ(walk, nullptr);
}

TEST_F(DeletionTest, NamesOfOtherSystemsGoToTheSystemUntouched) {
  if (os::GetCapabilities().absolutePathsHaveDrive) GTEST_SKIP() << "such names cannot be made here";
  ASSERT_TRUE(FileSystem::BuildPath(dir_.File("tree/a"), false));
  dir_.Write("a", "outside of the tree");
  for (const char* name : {"..\\..\\a", "x\ny", "not utf-8 \xFF", "dot.", "blank ", "con"}) {
    dir_.Write(std::string("tree/a/other"), "x");
    fs::rename(dir_.File("tree/a/other"), dir_.Path() + "/tree/a/" + name);
  }
  EXPECT_TRUE(FileSystem::DeletePath(dir_.File("tree"), false));
  EXPECT_EQ(dir_.Read("a"), "outside of the tree");
}

// The plain form would lose the '.' on Windows.
TEST_F(DeletionTest, NamesThatOnlyTheLongFormKeeps) {
  const std::string tree = FileSystem::GenerateLongFilePath(dir_.Path(), true) + R"(\tree.)";
  ASSERT_EQ(FileSystem::Mkdir(tree.c_str()), 0);
  ASSERT_EQ(FileSystem::Mkdir((tree + R"(\inner )").c_str()), 0);
  EXPECT_TRUE(FileSystem::DeletePath(tree, true));
  EXPECT_FALSE(FileSystem::DirExists(tree.c_str()));
}

// Deeper than a path can be long, and than a process may have files open.
TEST_F(DeletionTest, DeepTrees) {
  constexpr int kUnixDepth = 2000;
  constexpr int kWindowsDepth = 120;  // Wine keeps paths below 4096 bytes
  const bool unix = !os::GetCapabilities().absolutePathsHaveDrive;
  const std::string name = unix ? "level-of-the-tree" : "level-of-tree";
  ASSERT_EQ(FileSystem::Mkdir(dir_.File("tree").c_str()), 0);
  os::Tree* walk = nullptr;
  ASSERT_EQ(os::TreeOpen(dir_.File("tree").c_str(), os::Links::kRefuse, &walk), os::kSuccess);
  for (int depth = 0; depth < (unix ? kUnixDepth : kWindowsDepth); ++depth) {
    ASSERT_EQ(os::TreeMakeDirectory(walk, name), os::kSuccess) << depth;
    ASSERT_EQ(os::TreeEnter(walk, name), os::kSuccess) << depth;
  }
  os::TreeClose(walk);
  EXPECT_TRUE(FileSystem::CopyDirectory(dir_.File("tree").c_str(), dir_.File("copy").c_str()));
  EXPECT_TRUE(FileSystem::DeletePath(dir_.File("copy"), false));
  EXPECT_TRUE(FileSystem::DeletePath(dir_.File("tree"), false));
}

}  // namespace
}  // namespace du
