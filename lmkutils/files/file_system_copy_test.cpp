// FileSystem: copies and backups.
#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_system.h"
#include "lmkutils/os/capabilities.h"
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
using testing::UnorderedElementsAre;

std::vector<std::string> NamesIn(const std::string& path) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(fs::path(std::u8string(path.begin(), path.end())))) {
    const std::u8string name = entry.path().filename().u8string();
    names.emplace_back(name.begin(), name.end());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(CopyFileTest, KeepsTimesAndMode) {
  const lmktest::TempDir dir;
  const std::string bytes(700000, 'x');
  const std::string from = dir.Write("from", bytes);
  const std::string to = dir.Write("to", "old");
  ASSERT_TRUE(FileSystem::SetFileTime(from.c_str(), 0, 132'000'000'000'000'000));
  ASSERT_TRUE(FileSystem::SetWritable(from.c_str(), false));
  EXPECT_TRUE(FileSystem::CopyFile(from.c_str(), to.c_str()));
  EXPECT_EQ(dir.Read("to"), bytes);
  FileStat mine;
  FileStat theirs;
  ASSERT_EQ(FileSystem::Stat(from.c_str(), &mine), 0);
  ASSERT_EQ(FileSystem::Stat(to.c_str(), &theirs), 0);
  EXPECT_EQ(mine.modificationTime, theirs.modificationTime);
  EXPECT_EQ(mine.mode, theirs.mode);
  EXPECT_TRUE(FileSystem::SetWritable(from.c_str(), true));
  EXPECT_TRUE(FileSystem::SetWritable(to.c_str(), true));
}

// Each step fails in turn: the old target is whole, and nothing else is left.
TEST(CopyFileTest, AFailureLeavesTheOldTarget) {
  const lmktest::TempDir dir;
  const std::string from = dir.Write("from", std::string(600000, 'x'));
  const std::string to = dir.Write("to", "old");
  struct Row {
    Call call;
    os::fault::Plan plan;
  };
  const Row rows[] = {{Call::kFileOpen, {.count = os::fault::kForEver, .error = os::kErrorAccessDenied}},
                      {Call::kFileStatus, {.error = os::kErrorIoDevice}},
                      {Call::kFileCreate, {.error = os::kErrorAccessDenied}},
                      {Call::kFileRead, {.first = 2, .error = os::kErrorIoDevice}},
                      {Call::kFileWrite, {.error = os::kErrorDiskFull, .cutTo = 100}},
                      {Call::kFileWrite, {.first = 2, .count = os::fault::kForEver, .error = os::kSuccess}},
                      {Call::kFileStatus, {.first = 2, .error = os::kErrorAccessDenied}},
                      {Call::kFileStatus, {.first = 3, .error = os::kErrorAccessDenied}},
                      {Call::kFileClose, {.error = os::kErrorDiskFull}},
                      {Call::kFileRename, {.error = os::kErrorSharingViolation}}};
  for (const Row& row : rows) {
    const Arming fault(row.call, row.plan);
    EXPECT_FALSE(FileSystem::CopyFile(from.c_str(), to.c_str()));
    EXPECT_NE(FileSystem::GetLastErrorCode(), FileSystem::kNoError);
    EXPECT_EQ(dir.Read("to"), "old");
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("from", "to"));
  }
  const Arming shortSteps(Call::kFileRead,
                          {.count = os::fault::kForEver, .error = os::kSuccess, .cutTo = 70001});
  EXPECT_TRUE(FileSystem::CopyFile(from.c_str(), to.c_str()));
  EXPECT_TRUE(FileSystem::CompareBinaryFiles(from.c_str(), to.c_str()));
}

TEST(CopyFileTest, Refusals) {
  const lmktest::TempDir dir;
  const std::string file = dir.Write("file", "x");
  ASSERT_EQ(FileSystem::Mkdir(dir.File("sub").c_str()), 0);
  EXPECT_FALSE(FileSystem::CopyFile(file.c_str(), file.c_str()));
  EXPECT_FALSE(FileSystem::CopyFile(file.c_str(), dir.File("sub/../file").c_str()));
  EXPECT_FALSE(FileSystem::CopyFile(dir.Path().c_str(), dir.File("copy").c_str()));
  EXPECT_FALSE(FileSystem::CopyFile(file.c_str(), dir.File("sub").c_str()));
  EXPECT_FALSE(FileSystem::CopyFile(file.c_str(), (dir.File("sub") + "/").c_str()));
  EXPECT_FALSE(FileSystem::CopyFile(file.c_str(), dir.File("missing/copy").c_str()));
  EXPECT_FALSE(FileSystem::CopyFile(nullptr, nullptr));
  ASSERT_TRUE(FileSystem::SetWritable(file.c_str(), false)) << "Windows removes no read-only file";
  EXPECT_FALSE(FileSystem::CopyFile(file.c_str(), dir.File("sub").c_str()));
  ASSERT_TRUE(FileSystem::SetWritable(file.c_str(), true));
  EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file", "sub"));
  EXPECT_EQ(dir.Read("file"), "x");
  std::error_code error;
  fs::create_hard_link(file, dir.File("same"), error);
  EXPECT_TRUE(error || !FileSystem::CopyFile(file.c_str(), dir.File("same").c_str()));
}

TEST(CopyDirectoryTest, CopiesTheTree) {
  const lmktest::TempDir dir;
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("from/a/b"), false));
  dir.Write("from/one", "1");
  dir.Write("from/a/b/two", "2");
  const std::string from = dir.File("from");
  EXPECT_TRUE(FileSystem::CopyDirectory(from.c_str(), dir.File("new/to").c_str()));
  EXPECT_EQ(dir.Read("new/to/a/b/two"), "2");
  dir.Write("new/to/one", "changed");
  dir.Write("new/to/own", "kept");
  EXPECT_TRUE(FileSystem::CopyDirectory(from.c_str(), dir.File("new/to").c_str())) << "over an older copy";
  EXPECT_EQ(dir.Read("new/to/one"), "1");
  EXPECT_EQ(dir.Read("new/to/own"), "kept");

  lmktest::TraceRecorder recorder;
  EXPECT_FALSE(FileSystem::CopyDirectory(from.c_str(), dir.File("from/a/copy").c_str()));
  EXPECT_FALSE(FileSystem::CopyDirectory(from.c_str(), from.c_str()));
  EXPECT_FALSE(FileSystem::CopyDirectory(dir.File("missing").c_str(), dir.File("x").c_str()));
  EXPECT_FALSE(FileSystem::CopyDirectory(dir.File("from/one").c_str(), dir.File("x").c_str()));
  EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("from", "new"));
  EXPECT_THAT(NamesIn(dir.File("from/a")), ElementsAre("b"));
}

TEST(CopyDirectoryTest, GoesOnAfterAFailure) {
  const lmktest::TempDir dir;
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("from/a"), false));
  for (const char* name : {"from/1", "from/2", "from/a/3"}) dir.Write(name, "x");
  lmktest::TraceRecorder recorder;
  const Arming fault(Call::kFileWrite, {.error = os::kErrorDiskFull});
  EXPECT_FALSE(FileSystem::CopyDirectory(dir.File("from").c_str(), dir.File("to").c_str()));
  const int copied = FileSystem::FileExists(dir.File("to/1").c_str()) +
                     FileSystem::FileExists(dir.File("to/2").c_str()) +
                     FileSystem::FileExists(dir.File("to/a/3").c_str());
  EXPECT_EQ(copied, 2);
  std::vector<std::string> errors;
  for (const auto& record : recorder.Take()) {
    if (record.type == dp::TraceType::Error) errors.push_back(record.text);
  }
  EXPECT_THAT(errors, ElementsAre(HasSubstr("Failed to copy " + dir.File("from"))));
}

// Links to directories could lead anywhere, and round in circles.
TEST(CopyDirectoryTest, LinksToDirectoriesAreNotFollowed) {
  const lmktest::TempDir dir;
  ASSERT_TRUE(FileSystem::BuildPath(dir.File("from/a"), false));
  dir.Write("from/file", "x");
  std::error_code error;
  fs::create_directory_symlink(dir.File("from"), dir.File("from/a/loop"), error);
  if (error) GTEST_SKIP() << "no links can be made here";
  fs::create_symlink(dir.File("from/file"), dir.File("from/a/link"));
  EXPECT_FALSE(FileSystem::CopyDirectory(dir.File("from").c_str(), dir.File("to").c_str()));
  EXPECT_EQ(dir.Read("to/a/link"), "x");
  EXPECT_THAT(NamesIn(dir.File("to/a")), ElementsAre("link"));
  EXPECT_FALSE(FileSystem::CopyDirectory(dir.File("from").c_str(), dir.File("from/a/loop/a/sub").c_str()));
}

class BackupTest : public testing::Test {
 protected:
  void Change(const char* contents) const { dir_.Write("f", contents); }
  std::vector<std::string> Backups() const {
    std::vector<std::string> found;
    for (const std::string& name : NamesIn(dir_.Path())) {
      if (name != "f") found.push_back(name + "=" + dir_.Read(name));
    }
    return found;
  }

  const lmktest::TempDir dir_;
  const std::string path_ = dir_.File("f");
};

TEST_F(BackupTest, TheNewestIsNumberOne) {
  for (const char* contents : {"a", "b", "c", "d"}) {
    Change(contents);
    EXPECT_TRUE(FileSystem::BackupFile(path_, 3));
  }
  EXPECT_THAT(Backups(), ElementsAre("f.~1=d", "f.~2=c", "f.~3=b"));
  EXPECT_TRUE(FileSystem::BackupFile(path_, 2)) << "fewer from now on";
  EXPECT_THAT(Backups(), ElementsAre("f.~1=d", "f.~2=d"));
  EXPECT_TRUE(FileSystem::BackupFile(path_, 0));
  EXPECT_TRUE(FileSystem::BackupFile(path_, -1));
  EXPECT_TRUE(FileSystem::BackupFile(path_ + ".~1", 5)) << "a backup itself";
  EXPECT_THAT(Backups(), ElementsAre("f.~1=d", "f.~2=d"));
  EXPECT_FALSE(FileSystem::BackupFile(dir_.File("missing"), 2));
  EXPECT_FALSE(FileSystem::BackupFile("x", 2)) << "no next-to-last character";
  EXPECT_FALSE(FileSystem::BackupFile("", 2));
}

TEST_F(BackupTest, AGapIsFilled) {
  for (const char* name : {"f.~1", "f.~3"}) dir_.Write(name, name);
  Change("x");
  EXPECT_TRUE(FileSystem::BackupFile(path_, 3));
  EXPECT_THAT(Backups(), ElementsAre("f.~1=x", "f.~2=f.~1", "f.~3=f.~3"));
}

TEST_F(BackupTest, OfAReadOnlyFile) {
  Change("x");
  ASSERT_TRUE(FileSystem::SetWritable(path_.c_str(), false));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(FileSystem::BackupFile(path_, 1)) << i;
  EXPECT_THAT(Backups(), ElementsAre("f.~1=x"));
  for (const std::string& name : NamesIn(dir_.Path())) FileSystem::SetWritable(dir_.File(name).c_str(), true);
}

// Whichever step fails: no older backup is lost, none overwritten.
TEST_F(BackupTest, NothingIsLostWhenAStepFails) {
  for (std::uint64_t step = 1; step <= 4; ++step) {
    for (const Call call : {Call::kFileRename, Call::kFileCreate, Call::kFileWrite}) {
      for (const std::string& name : NamesIn(dir_.Path())) FileSystem::Unlink(dir_.File(name).c_str(), true);
      for (const char* name : {"f", "f.~1", "f.~2"}) dir_.Write(name, name);
      const Arming fault(call, {.first = step, .error = os::kErrorDiskFull});
      if (FileSystem::BackupFile(path_, 2)) continue;
      std::string all;
      for (const std::string& backup : Backups()) all += backup.substr(backup.find('=')) + ";";
      EXPECT_EQ(all, "=f.~1;=f.~2;") << step;
    }
  }
}

}  // namespace
}  // namespace du
