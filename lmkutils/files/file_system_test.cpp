// FileSystem: existence, attributes, directories, contents of files.
#include "lmkutils/files/file_system.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/capabilities.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/os/file.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;

bool IsUnix() {
  return !os::GetCapabilities().absolutePathsHaveDrive;
}

TEST(FileSystemTest, ErrorCodes) {
  struct Row {
    os::SystemError error;
    FileSystem::ErrorCode code;
  };
  constexpr Row kRows[] = {{os::kSuccess, FileSystem::kNoError},
                           {os::kErrorAccessDenied, FileSystem::kAccessDenied},
                           {os::kErrorNotEnoughMemory, FileSystem::kNotEnoughMemory},
                           {os::kErrorFileNotFound, FileSystem::kFileNotFound},
                           {os::kErrorDiskFull, FileSystem::kDiskFull},
                           {os::kErrorSharingViolation, FileSystem::kSharingViolation},
                           {os::kErrorAlreadyExists, FileSystem::kOtherError}};
  for (const Row& row : kRows) {
    os::SetLastSystemError(row.error);
    EXPECT_EQ(FileSystem::GetLastErrorCode(), row.code);
  }
}

TEST(FileSystemTest, Existence) {
  const lmktest::TempDir dir;
  const std::string file = dir.Write("f\xC3\xA4", "x");
  EXPECT_TRUE(FileSystem::FileExists(file.c_str()));
  EXPECT_FALSE(FileSystem::DirExists(file.c_str()));
  EXPECT_TRUE(FileSystem::DirExists(dir.Path().c_str()));
  EXPECT_FALSE(FileSystem::FileExists(dir.Path().c_str()));
  EXPECT_TRUE(FileSystem::FileReadable(file.c_str()));
  EXPECT_FALSE(FileSystem::FileReadable(dir.Path().c_str()));
  for (const std::string& path :
       {dir.File("missing"), std::string(), file + "\xFF", std::string(40000, 'x')}) {
    EXPECT_FALSE(FileSystem::FileExists(path.c_str()));
    EXPECT_FALSE(FileSystem::DirExists(path.c_str()));
    EXPECT_FALSE(FileSystem::FileReadable(path.c_str()));
    EXPECT_FALSE(FileSystem::HasWritePermissions(path.c_str()));
    FileStat stat;
    EXPECT_EQ(FileSystem::Stat(path.c_str(), &stat), -1);
    EXPECT_NE(FileSystem::GetLastErrorCode(), FileSystem::kNoError);
  }
  EXPECT_FALSE(FileSystem::FileExists(nullptr));
}

// A test that waits for a writer would hang.
TEST(FileSystemTest, PipesAndDevicesAreNotReadable) {
  if (!IsUnix()) GTEST_SKIP() << "there are no such entries in folders here";
  const lmktest::TempDir dir;
  const std::string pipe = dir.File("pipe");
  ASSERT_EQ(lmktest::RunChild({"/usr/bin/mkfifo", pipe}).exitCode, 0);
  EXPECT_FALSE(FileSystem::FileReadable(pipe.c_str()));
  EXPECT_FALSE(FileSystem::IsFileTypeAscii("/dev/zero"));
  EXPECT_TRUE(FileSystem::FileExists(pipe.c_str()));
}

TEST(FileSystemTest, Attributes) {
  const lmktest::TempDir dir;
  const std::string file = dir.Write("file", "12345");
  constexpr std::uint64_t kStart = 132'000'000'000'000'000;  // 2019-04-17
  EXPECT_TRUE(FileSystem::SetFileTime(file.c_str(), kStart, kStart + 30'000'000));
  EXPECT_TRUE(FileSystem::SetFileTime(file.c_str(), 0, 0)) << "leaves both";
  FileStat stat;
  ASSERT_EQ(FileSystem::Stat(file.c_str(), &stat), 0);
  EXPECT_EQ(stat.size, 5U);
  EXPECT_EQ(stat.modificationTime, 1'555'526'403);
  EXPECT_TRUE(stat.isRegularFile);
  EXPECT_FALSE(stat.isDirectory);
  EXPECT_TRUE(FileSystem::HasWritePermissions(file.c_str()));

  EXPECT_TRUE(FileSystem::SetWritable(file.c_str(), false));
  ASSERT_EQ(FileSystem::Stat(file.c_str(), &stat), 0);
  EXPECT_EQ(stat.mode & 0222U, 0U);
  EXPECT_TRUE(FileSystem::SetWritable(file.c_str(), true));
  ASSERT_EQ(FileSystem::Stat(file.c_str(), &stat), 0);
  EXPECT_NE(stat.mode & 0200U, 0U);

  ASSERT_EQ(FileSystem::Stat(dir.Path().c_str(), &stat), 0);
  EXPECT_TRUE(stat.isDirectory);
  EXPECT_TRUE(FileSystem::HasWritePermissions(dir.Path().c_str()));
  EXPECT_EQ(FileSystem::Stat(file.c_str(), nullptr), -1);
  const Arming fault(Call::kFileStatus, {.count = os::fault::kForEver, .error = os::kErrorAccessDenied});
  EXPECT_FALSE(FileSystem::HasWritePermissions(file.c_str()));
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kAccessDenied);
}

TEST(FileSystemTest, MakingDirectories) {
  const lmktest::TempDir dir;
  const std::string deep = dir.File("a/b.c/d");
  EXPECT_EQ(FileSystem::Mkdir(deep.c_str()), -1) << "only the last directory is made";
  EXPECT_TRUE(FileSystem::BuildPath(deep + "//file.txt", true));
  EXPECT_TRUE(FileSystem::DirExists(deep.c_str()));
  EXPECT_FALSE(FileSystem::FileExists((deep + "/file.txt").c_str()));
  EXPECT_TRUE(FileSystem::BuildPath(deep, false)) << "all there";
  EXPECT_TRUE(FileSystem::BuildPath("file", true)) << "no directory to be made";
  EXPECT_EQ(FileSystem::Mkdir(deep.c_str()), -1);
  dir.Write("file", "x");
  EXPECT_FALSE(FileSystem::BuildPath(dir.File("file/a"), false));
  EXPECT_FALSE(FileSystem::BuildPath("", false));
  const Arming fault(Call::kDirectoryMake, {.count = os::fault::kForEver, .error = os::kErrorDiskFull});
  EXPECT_FALSE(FileSystem::BuildPath(dir.File("new"), false));
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kDiskFull);
}

// Deeper than Windows takes without the long form.
TEST(FileSystemTest, LongPathsAreFound) {
  const lmktest::TempDir dir;
  std::string deep = dir.Path();
  for (int i = 0; i < 4; ++i) deep += "/" + std::string(100, static_cast<char>('a' + i));
  ASSERT_TRUE(FileSystem::BuildPath(deep, false));
  os::File file;
  ASSERT_EQ(os::OpenForAppending((deep + "/file").c_str(), &file), os::kSuccess);
  os::CloseFile(file);
  EXPECT_TRUE(os::IsRegularFile((deep + "/file").c_str()));
  EXPECT_FALSE(os::IsRegularFile((deep + "/other").c_str()));
  EXPECT_FALSE(os::IsRegularFile(deep.c_str()));
}

TEST(FileSystemTest, RenamingNeverReplaces) {
  const lmktest::TempDir dir;
  const std::string one = dir.Write("one", "1");
  const std::string two = dir.Write("two", "2");
  EXPECT_FALSE(FileSystem::RenameFile(one.c_str(), two.c_str()));
  EXPECT_EQ(dir.Read("two"), "2");
  EXPECT_TRUE(FileSystem::RenameFile(one.c_str(), dir.File("three").c_str()));
  EXPECT_EQ(dir.Read("three"), "1");
  EXPECT_FALSE(FileSystem::RenameFile(one.c_str(), dir.File("four").c_str()));
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kFileNotFound);
  EXPECT_FALSE(FileSystem::RenameFile(two.c_str(), ""));
  ASSERT_EQ(FileSystem::Mkdir(dir.File("dir").c_str()), 0);
  EXPECT_TRUE(FileSystem::RenameFile(dir.File("dir").c_str(), dir.File("moved").c_str()));
  EXPECT_FALSE(FileSystem::RenameFile(dir.File("moved").c_str(), two.c_str()));
}

// The first try's reason stands, whatever the second one says.
TEST(FileSystemTest, TheLongFormIsTriedOnce) {
  const lmktest::TempDir dir;
  const std::string file = dir.Write("file", "x");
  os::Capabilities facts = os::GetCapabilities();
  facts.longPathsHavePrefix = true;
  const os::fault::PretendCapabilities pretended(facts);
  {
    const Arming fault(Call::kFileOpen, {.error = os::kErrorPathNotFound});
    EXPECT_TRUE(FileSystem::FileReadable(file.c_str()));
    EXPECT_EQ(os::fault::CountOf(Call::kFileOpen), 2U);
  }
  const Arming fault(Call::kFileOpen, {.error = os::kErrorSharingViolation});
  EXPECT_FALSE(FileSystem::FileReadable(dir.File("missing").c_str()));
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kSharingViolation);
  EXPECT_EQ(os::fault::CountOf(Call::kFileOpen), 2U);
}

TEST(FileSystemTest, ChangesTheCurrentDirectory) {
  const lmktest::TempDir dir;
  const std::string before = FileSystem::GetCurDir(false);
  ASSERT_EQ(FileSystem::Chdir(dir.Path().c_str()), 0);
  dir.Write("here", "x");
  EXPECT_TRUE(FileSystem::FileExists("here"));
  EXPECT_EQ(FileSystem::Chdir("nowhere"), -1);
  EXPECT_EQ(FileSystem::Chdir(before.c_str()), 0);
}

TEST(FileSystemTest, HomeDirectory) {
  dp::Environment::Put("HomeDrive", "H:");
  dp::Environment::Put("HomePath", R"(\me)");
  EXPECT_EQ(FileSystem::GetHomeDir(), R"(H:\me)");
  if (IsUnix()) {
    dp::Environment::Put("HomeDrive", "");
    dp::Environment::Put("HomePath", "");
    EXPECT_EQ(FileSystem::GetHomeDir(), dp::Environment::Get("HOME"));
  }
  EXPECT_FALSE(FileSystem::GetDocumentsDir().empty());
}

TEST(FileSystemTest, DocumentsFolderOfTheDesktop) {
  if (!IsUnix()) GTEST_SKIP() << "the system knows it";
  const lmktest::TempDir home;
  const std::string before = dp::Environment::Get("HOME");
  dp::Environment::Put("HOME", home.Path());
  EXPECT_EQ(FileSystem::GetDocumentsDir(), home.Path() + "/Documents");
  ASSERT_TRUE(FileSystem::BuildPath(home.File(".config"), false));
  home.Write(".config/user-dirs.dirs",
             "# comment\nXDG_MUSIC_DIR=\"$HOME/M\"\nXDG_DOCUMENTS_DIR=\"$HOME/My \\\"D\\\"\"\n");
  EXPECT_EQ(FileSystem::GetDocumentsDir(), home.Path() + "/My \"D\"");
  home.Write(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"relative\"");
  EXPECT_EQ(FileSystem::GetDocumentsDir(), home.Path() + "/Documents");
  dp::Environment::Put("HOME", before);
}

TEST(FileSystemContentsTest, KindsOfFiles) {
  const lmktest::TempDir dir;
  struct Row {
    std::string bytes;
    bool binary;
    bool lms;
    bool ascii;
  };
  const Row rows[] = {{"", false, false, true},
                      {"\x05\x06\x13", true, false, true},
                      {"\x05\x06", false, false, true},
                      {"\xD0\xCF\x11\xE0", true, false, false},
                      {"LM-LMS", false, true, true},
                      {"LM-LM", false, false, true},
                      {std::string(300000, 'a') + '\x7F', false, false, true},
                      {std::string(300000, 'a') + '\x80', false, false, false}};
  for (const Row& row : rows) {
    const std::string path = dir.Write("file", row.bytes);
    EXPECT_EQ(FileSystem::IsFileBinary(path), row.binary);
    EXPECT_EQ(FileSystem::IsFileLms(path), row.lms);
    EXPECT_EQ(FileSystem::IsFileTypeAscii(path), row.ascii);
  }
  EXPECT_FALSE(FileSystem::IsFileTypeAscii(dir.File("missing")));
  EXPECT_FALSE(FileSystem::IsFileTypeAscii(dir.Path()));
  EXPECT_FALSE(FileSystem::IsFileBinary(dir.Path()));
}

TEST(FileSystemContentsTest, Comparison) {
  const lmktest::TempDir dir;
  struct Row {
    std::string left;
    std::string right;
    bool sameBytes;
    bool sameText;
  };
  const std::string big(98303, 'x');  // so that CR and LF lie in different blocks
  const Row rows[] = {{"", "", true, true},
                      {"a\r\nb", "a\nb", false, true},
                      {"a\r", "a", false, false},
                      {"a\r\r\n", "a\r\n", false, false},
                      {"a\n", "a", false, false},
                      {big + "\r\n", big + "\n", false, true},
                      {big + big, big + big, true, true},
                      {big + "a", big + "b", false, false}};
  for (const Row& row : rows) {
    const std::string left = dir.Write("left", row.left);
    const std::string right = dir.Write("right", row.right);
    EXPECT_EQ(FileSystem::CompareBinaryFiles(left.c_str(), right.c_str()), row.sameBytes);
    EXPECT_EQ(FileSystem::CompareTextFiles(left.c_str(), right.c_str()), row.sameText);
  }
  const std::string file = dir.File("left");
  EXPECT_FALSE(FileSystem::CompareBinaryFiles(file.c_str(), dir.File("missing").c_str()));
  EXPECT_FALSE(FileSystem::CompareTextFiles(dir.File("missing").c_str(), dir.File("missing").c_str()));
  const Arming fault(Call::kFileRead, {.count = os::fault::kForEver, .error = os::kErrorIoDevice});
  EXPECT_FALSE(FileSystem::CompareBinaryFiles(file.c_str(), file.c_str()));
  EXPECT_FALSE(FileSystem::CompareTextFiles(file.c_str(), file.c_str()));
}

TEST(FileSystemContentsTest, Base64) {
  const lmktest::TempDir dir;
  struct Row {
    std::string bytes;
    const char* text;
  };
  const Row rows[] = {{"", ""},
                      {"f", "Zg=="},
                      {"fo", "Zm8="},
                      {"foo", "Zm9v"},
                      {"foob", "Zm9vYg=="},
                      {"fooba", "Zm9vYmE="},
                      {std::string("\0\xFF\xFE", 3), "AP/+"}};
  for (const Row& row : rows) EXPECT_EQ(FileSystem::GetFileAsBase64(dir.Write("file", row.bytes)), row.text);
  EXPECT_EQ(FileSystem::GetFileAsBase64(dir.File("missing")), "");
  const std::string large = FileSystem::GetFileAsBase64(dir.Write("file", std::string(100000, '\0')));
  EXPECT_EQ(large, std::string(133334, 'A') + "==") << "no padding between blocks";
}

}  // namespace
}  // namespace du
