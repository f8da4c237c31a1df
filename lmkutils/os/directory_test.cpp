#include "lmkutils/os/directory.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "lmkutils/testing/temp_dir.h"

namespace os {
namespace {

namespace fs = std::filesystem;

class CurrentDirectoryTest : public testing::Test {
 protected:
  ~CurrentDirectoryTest() override { fs::current_path(before_); }

 private:
  const fs::path before_ = fs::current_path();
};

TEST_F(CurrentDirectoryTest, IsUtf8) {
  // One character each of two, three and four bytes.
  const lmktest::TempDir folder("\xC3\xBC-\xE6\x97\xA5-\xF0\x9F\x98\x80");
  fs::current_path(fs::u8path(folder.Path()));
  std::string path;
  ASSERT_EQ(CurrentDirectory(path), kSuccess);
  EXPECT_EQ(path, folder.Path());
  EXPECT_TRUE(IsDirectory(path));
}

TEST_F(CurrentDirectoryTest, FailsWhenRemoved) {
  const lmktest::TempDir folder;
  const fs::path gone = fs::u8path(folder.File("gone"));
  fs::create_directory(gone);
  fs::current_path(gone);
  std::error_code error;
  if (!fs::remove(gone, error)) GTEST_SKIP() << "this system does not remove a current directory";
  std::string path = "old";
  EXPECT_NE(CurrentDirectory(path), kSuccess);
  EXPECT_EQ(path, "");
}

TEST_F(CurrentDirectoryTest, MayBeLongerThanUsual) {
  const lmktest::TempDir folder;
  fs::current_path(fs::u8path(folder.Path()));
  const std::string name(100, 'n');
  std::error_code error;
  for (int depth = 0; depth < 5; ++depth) {
    fs::create_directory(name, error);
    if (!error) fs::current_path(name, error);
    if (error)
      GTEST_SKIP() << "this system has no current directory of " << 100 * (depth + 1) << " characters";
  }
  std::string path;
  ASSERT_EQ(CurrentDirectory(path), kSuccess);
  EXPECT_GT(path.size(), 500u);
  EXPECT_EQ(fs::u8path(path).filename(), name);
}

TEST(DirectoryTest, IsDirectoryOnlyWhenItIs) {
  const lmktest::TempDir folder;
  const std::string file = folder.Write("file", "x");
  EXPECT_TRUE(IsDirectory(folder.Path()));
  EXPECT_TRUE(IsDirectory(folder.File("..\\.")));
  EXPECT_FALSE(IsDirectory(file));
  EXPECT_FALSE(IsDirectory(folder.File("missing")));
  EXPECT_FALSE(IsDirectory(""));
  EXPECT_FALSE(IsDirectory(folder.Path() + std::string("\0x", 2)));
}

}  // namespace
}  // namespace os
