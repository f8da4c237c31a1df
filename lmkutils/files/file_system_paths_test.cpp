// FileSystem: forms of paths, and which may be deleted. Both kinds of systems on every target, by pretended
// facts.
#include <string>

#include <gmock/gmock.h>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fault/capabilities.h"
#include "lmkutils/os/fault/directory.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"
#include "lmkutils/text/encoding.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using os::fault::PretendCapabilities;
using os::fault::PretendCurrentDirectory;
using testing::ElementsAre;

os::Capabilities Facts(bool windows) {
  os::Capabilities facts = os::GetCapabilities();
  facts.absolutePathsHaveDrive = facts.longPathsHavePrefix = facts.shortPathsKnown = windows;
  facts.separator = windows ? '\\' : '/';
  return facts;
}

class WindowsPathsTest : public testing::Test {
 private:
  PretendCapabilities facts_{Facts(true)};
  PretendCurrentDirectory current_{R"(C:\cur)"};
};

class UnixPathsTest : public testing::Test {
 private:
  PretendCapabilities facts_{Facts(false)};
  PretendCurrentDirectory current_{"/cur"};
};

TEST_F(WindowsPathsTest, LongForm) {
  const std::string r259 = std::string(257, 'r') + "/s";
  struct Row {
    std::string path;
    bool isFile;
    std::string expected;
  };
  const Row rows[] = {
      {"", true, ""},
      {"C:/a//b", true, R"(\\?\C:\a\b)"},
      {R"(C:\a\b)", false, R"(\\?\C:\a\b\)"},
      {R"(C:\a\b\)", false, R"(\\?\C:\a\b\)"},
      {R"(C:\a\.\b\..\c)", true, R"(\\?\C:\a\c)"},
      {R"(C:\..\..\c)", true, R"(\\?\C:\c)"},
      {R"(C:\a\b\..)", false, R"(\\?\C:\a\)"},
      {R"(\x\y)", true, R"(\\?\C:\x\y)"},
      {R"(\\srv\share\a/b)", true, R"(\\srv\share\a/b)"},
      {R"(\\?\C:\a)", false, R"(\\?\C:\a)"},
      {R"(//./pipe/x)", true, R"(//./pipe/x)"},
      {R"(\\srv:\a)", true, R"(\\?\\srv:\a)"},
      {r259, true, r259},
      {r259 + "x", true, R"(\\?\C:\cur\)" + std::string(257, 'r') + R"(\sx)"},
      {"D:rel", true, "D:rel"},
      {"D:" + r259, true, R"(\\?\D:\)" + std::string(257, 'r') + R"(\s)"},
      {"C:" + r259, true, R"(\\?\C:\cur\)" + std::string(257, 'r') + R"(\s)"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(FileSystem::GenerateLongFilePath(row.path, row.isFile), row.expected);
    EXPECT_EQ(FileSystem::GenerateLongFilePath(ToWide(row.path), row.isFile), ToWide(row.expected));
  }
}

// The limit counts UTF-16 units, not bytes.
TEST_F(WindowsPathsTest, LongFormCountsUnits) {
  std::string path;
  for (int i = 0; i < 259; ++i) path += "\xC3\xA4";
  EXPECT_EQ(FileSystem::GenerateLongFilePath(path, true), path);
  EXPECT_EQ(FileSystem::GenerateLongFilePath(path + "b", true), R"(\\?\C:\cur\)" + path + "b");
}

TEST_F(WindowsPathsTest, LongFormInAServersDirectory) {
  const PretendCurrentDirectory onServer(R"(\\srv\share)");
  const std::string path(300, 'x');
  EXPECT_EQ(FileSystem::GenerateLongFilePath(path, true), R"(\\srv\share\)" + path);
}

TEST_F(WindowsPathsTest, AbsolutePaths) {
  EXPECT_EQ(FileSystem::MakePathAbsolute("a/b"), R"(C:\cur\a\b)");
  EXPECT_EQ(FileSystem::MakePathAbsolute(R"(C:x)"), R"(C:\cur\x)");
  EXPECT_EQ(FileSystem::MakePathAbsolute(R"(\x)"), R"(\x)");
  EXPECT_EQ(FileSystem::MakePathAbsolute("D:/x"), "D:/x");
  EXPECT_EQ(FileSystem::MakePathAbsolute(nullptr), "");
  EXPECT_EQ(FileSystem::GetCurDir(true), R"(C:\cur\)");
}

TEST_F(UnixPathsTest, AbsolutePaths) {
  EXPECT_EQ(FileSystem::MakePathAbsolute(R"(a\b)"), "/cur/a/b");
  EXPECT_EQ(FileSystem::MakePathAbsolute("C:x"), "/cur/C:x");
  EXPECT_EQ(FileSystem::MakePathAbsolute("/x"), "/x");
  EXPECT_EQ(FileSystem::GetCurDir(false), "/cur");
  const PretendCurrentDirectory root("/");
  EXPECT_EQ(FileSystem::GetCurDir(true), "/");
  EXPECT_EQ(FileSystem::MakePathAbsolute("x"), "/x");
  const PretendCurrentDirectory gone("", os::kErrorFileNotFound);
  EXPECT_EQ(FileSystem::GetCurDir(true), "");
  EXPECT_EQ(FileSystem::GetLastErrorCode(), FileSystem::kFileNotFound);
  EXPECT_EQ(FileSystem::MakePathAbsolute("x"), "");
}

// Registers directories for one test.
class Registered {
 public:
  explicit Registered(std::string path) : path_(std::move(path)) {
    EXPECT_TRUE(FileSystem::AddValidPath(path_.c_str()));
  }
  ~Registered() { EXPECT_TRUE(FileSystem::RemoveValidPath(path_.c_str())); }

 private:
  std::string path_;
};

TEST_F(WindowsPathsTest, WhatMayBeRegistered) {
  for (const char* path :
       {R"(C:\work\)", "C:/jobs", R"(C:\work\a.txt)", R"(\\srv\share\d)", R"(C:\a\data.v2\)"}) {
    const Registered registered(path);
    EXPECT_TRUE(FileSystem::AddValidPath(path)) << "a second time";
  }
  lmktest::TraceRecorder recorder;
  for (const char* path : {R"(C:\)", "C:", R"(\\srv\share\)", "", R"(C:\a\ \b)", R"(C:\a*)", R"(\\?\C:\a)",
                           "C:\\a\"", R"(C:\a.txt)", R"(C:\a\..)"}) {
    EXPECT_FALSE(FileSystem::AddValidPath(path)) << path;
  }
  const auto records = recorder.Take();
  ASSERT_EQ(records.size(), 10U);
  EXPECT_EQ(records[0].key, "FilePathValidator");
  EXPECT_EQ(records[0].text, R"(Could not add C:\ to the valid path list, path is not valid)");
}

TEST_F(WindowsPathsTest, RemovalFromTheList) {
  ASSERT_TRUE(FileSystem::AddValidPath(R"(C:\a\data.v2\)"));
  ASSERT_TRUE(FileSystem::AddValidPath(R"(C:\a\file.txt)"));
  EXPECT_TRUE(FileSystem::RemoveValidPath(R"(C:\a\data.v2)")) << "the directory, not its parent";
  EXPECT_TRUE(FileSystem::IsInValidPathsList(R"(C:\a\x)"));
  EXPECT_TRUE(FileSystem::RemoveValidPath(R"(C:\a\file.txt)")) << "by the text that added it";
  EXPECT_FALSE(FileSystem::IsInValidPathsList(R"(C:\a\x)"));
  lmktest::TraceRecorder recorder;
  EXPECT_FALSE(FileSystem::RemoveValidPath(R"(C:\a)"));
  EXPECT_FALSE(FileSystem::RemoveValidPath(nullptr));
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre(R"(Could not find C:\a in the valid path list)",
                                                "Could not find  in the valid path list"));
}

TEST_F(WindowsPathsTest, WhatMayBeDeleted) {
  const Registered registered(R"(C:\work\)");
  struct Row {
    const char* path;
    bool permitted;
  };
  constexpr Row kRows[] = {
      {R"(C:\work\y\z.txt)", true},
      {"C:\\work/y", true},
      {R"(C:\work)", true},
      {R"(C:\)", false},
      {R"(\\?\C:\work\y)", true},
      {R"(E:\backup\C:\work\y)", true},
      {R"(C:\works)", false},
      {R"(c:\work\y)", false},
      {R"(C:\work\..)", false},
      {R"(C:\work\..\x)", false},
      {R"(C:\work\a\..\b)", true},
      {R"(C:\cur\..\work\b)", true},
      {R"(..\work\b)", true},
      {R"(..\other)", false},
      {"", false},
  };
  for (const Row& row : kRows) EXPECT_EQ(FileSystem::IsInValidPathsList(row.path), row.permitted) << row.path;
}

TEST_F(UnixPathsTest, AnEntryWithoutADriveStandsAtTheStart) {
  EXPECT_FALSE(FileSystem::AddValidPath("/"));
  EXPECT_FALSE(FileSystem::AddValidPath("relative/dir"));
  const Registered registered("/tmp");
  EXPECT_TRUE(FileSystem::IsInValidPathsList("/tmp/x"));
  EXPECT_TRUE(FileSystem::IsInValidPathsList(R"(\tmp\x.txt)"));
  EXPECT_FALSE(FileSystem::IsInValidPathsList("/users/me/tmp/x"));
  EXPECT_FALSE(FileSystem::IsInValidPathsList("/tmp/../etc"));
  EXPECT_FALSE(FileSystem::IsInValidPathsList("/tmpx"));
}

TEST(FileSystemPathsTest, VariableAtTheStartOfAPath) {
  dp::Environment::Put("LMK_PATH_TEST", "/base");
  struct Row {
    const char* path;
    const char* expected;  // null: false, and the path as it was
  };
  constexpr Row kRows[] = {
      {"", ""},
      {"a$(X)", "a$(X)"},
      {"$", nullptr},
      {"$(LMK_PATH_TEST)rest", "/baserest"},
      {"$(LMK_PATH_TEST)", "/base"},
      {"$LMK_PATH_TEST", "/base"},
      {R"($LMK_PATH_TEST\a)", R"(/base\a)"},
      {R"($LMK_PATH_TEST/a\b)", R"(/base/a\b)"},
      {R"($LMK_PATH_TEST\a/b)", nullptr},  // the name ends at the first '/', if there is one
      {"$(LMK_PATH_TEST", nullptr},
      {"$()", nullptr},
      {"$()x", nullptr},
      {"$/x", nullptr},
      {"$(LMK_NOT_SET_AT_ALL)x", nullptr},
  };
  for (const Row& row : kRows) {
    std::string path = row.path;
    EXPECT_EQ(FileSystem::PreProcessEnvVarInPath(path), row.expected != nullptr) << row.path;
    EXPECT_EQ(path, row.expected != nullptr ? row.expected : row.path);
  }
  dp::Environment::Put("LMK_PATH_TEST", "$(LMK_PATH_TEST)");
  std::string path = "$LMK_PATH_TEST";
  EXPECT_TRUE(FileSystem::PreProcessEnvVarInPath(path));
  EXPECT_EQ(path, "$(LMK_PATH_TEST)") << "one round only";
  dp::Environment::Put("LMK_PATH_TEST", "");
}

TEST(FileSystemPathsTest, NativePath) {
  const lmktest::TempDir dir;
  const std::string path = dir.Write("\xE2\x82\xAC-\xC3\xA4 long name.text", "x");
  bool ok = false;
  EXPECT_EQ(FileSystem::GetBestNativePath("ascii/missing", &ok), "ascii/missing");
  EXPECT_TRUE(ok);
  const std::string native = FileSystem::GetBestNativePath(path, &ok);
  EXPECT_TRUE(ok);
  if (os::GetCapabilities().shortPathsKnown) {
    EXPECT_TRUE(FileSystem::FileExists(native.c_str()));
  } else {
    EXPECT_EQ(native, path);
  }
  EXPECT_EQ(ToWide(FileSystem::GetShortPath(path)), FileSystem::GetShortPath(ToWide(path)));
  for (const Call step : {Call::kShortPath, Call::kNativeText}) {
    const Arming fault(step, {.count = os::fault::kForEver, .error = os::kErrorInvalidName});
    lmktest::TraceRecorder recorder;
    EXPECT_EQ(FileSystem::GetBestNativePath(path, &ok), path);
    EXPECT_FALSE(ok);
    EXPECT_THAT(recorder.TakeTexts(),
                ElementsAre("GetBestNativePath failed to get a native encoding for UTF-8 path.\n"));
  }
}

TEST(FileSystemNamesTest, ForbiddenCharacters) {
  for (const char c : std::string("\\/:*?\"<>|")) {
    EXPECT_TRUE(FileSystem::ContainsForbiddenChars(std::string("a") + c));
  }
  EXPECT_FALSE(FileSystem::ContainsForbiddenChars(std::string("a \x01\xC3\xA4\xFF'.")));
  EXPECT_FALSE(FileSystem::ContainsForbiddenChars(FileSpec(R"(C:\a\b.c)")));
  EXPECT_TRUE(FileSystem::ContainsForbiddenChars(FileSpec(R"(C:\a?\b.c)")));
  EXPECT_TRUE(FileSystem::ContainsForbiddenChars(FileSpec(R"(C:\a\b.c:d)")));
  EXPECT_EQ(FileSystem::RemoveForbiddenChars("a:b*c", '-'), "a-b-c");
  EXPECT_EQ(FileSystem::RemoveForbiddenChars("a:b*c", '\0'), "abc");
  EXPECT_EQ(FileSystem::ReplaceForbiddenChars(R"(C:\a*b/c:d)", true), R"(C:\a_b/c_d)");
  EXPECT_EQ(FileSystem::ReplaceForbiddenChars(R"(C:\a*b/c)", false), "C__a_b_c");
}

TEST(FileSystemNamesTest, ReservedNames) {
  struct Row {
    const char* name;
    const char* expected;
  };
  constexpr Row kRows[] = {
      {"plain.txt", "plain.txt"},
      {"con", "con_"},
      {"NUL.tar.gz", "NUL_.tar.gz"},
      {"CON .log", "CON_ .log"},
      {"COM\xC2\xB9", "COM\xC2\xB9_"},
      {"lpt9.x", "lpt9_.x"},
      {"com10", "com10"},
      {"console", "console"},
      {"a.", "a_"},
      {"a ", "a_"},
      {"a\nb", "a_b"},
      {"", ""},
      {"..", "._"},
      {"x:y", "x_y"},
  };
  for (const Row& row : kRows) EXPECT_EQ(FileSystem::ReplaceReservedChars(row.name, false), row.expected);
  EXPECT_EQ(FileSystem::ReplaceReservedChars(R"(c:\..\nul\./aux.h)", true), R"(c:\..\nul_\./aux_.h)");
}

}  // namespace
}  // namespace du
