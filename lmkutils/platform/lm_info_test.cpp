#include "lmkutils/platform/lm_info.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/capabilities.h"
#include "lmkutils/os/process.h"
#include "lmkutils/platform/internal/installation.h"
#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/platform/process.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/pattern.h"
#include "lmkutils/testing/temp_dir.h"

namespace dp {
namespace {

using internal::FindInstallationRoot;
using internal::InSystemForm;
using internal::IsAcceptableRoot;
using internal::PathBelow;
using testing::HasSubstr;

os::Capabilities FactsOf(bool windows) {
  os::Capabilities facts = os::GetCapabilities();
  facts.separator = windows ? '\\' : '/';
  facts.absolutePathsHaveDrive = windows;
  return facts;
}

std::string Native(std::string path) {
  return InSystemForm(std::move(path));
}

void MakeData(const lmktest::TempDir& folder, const std::string& root) {
  std::filesystem::create_directories(std::filesystem::u8path(folder.File(root + "/share/lumora")));
}

TEST(InstallationTest, RootLiesAboveTheLibrary) {
  const lmktest::TempDir folder(
      "pr\xC3\xA4"
      "fix");
  MakeData(folder, "usr");
  MakeData(folder, "two");
  MakeData(folder, "two/lib");
  const struct {
    const char* module;
    const char* root;
  } cases[] = {
      {"usr/bin/liblmkutils.dll", "usr"},
      {"usr/lib/liblmkutils.so.20", "usr"},
      {"usr/lib/x86_64-linux-gnu/liblmkutils.so", "usr"},
      {"two/lib/machine/liblmkutils.so", "two/lib"},
      {"none/lib/liblmkutils.so", "none"},
      {"none/lib/machine/liblmkutils.so", "none/lib"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FindInstallationRoot(Native(folder.File(c.module))), Native(folder.File(c.root))) << c.module;
  }
  EXPECT_EQ(FindInstallationRoot(""), "");
}

TEST(InstallationTest, RootsOfTheSystemAreTheirOwnParents) {
  {
    const os::fault::PretendCapabilities facts(FactsOf(false));
    EXPECT_EQ(FindInstallationRoot("/x.so"), "/");
    EXPECT_EQ(FindInstallationRoot("/no-such-folder/x.so"), "/");
  }
  const os::fault::PretendCapabilities facts(FactsOf(true));
  EXPECT_EQ(FindInstallationRoot("Q:\\x.dll"), "Q:\\");
  EXPECT_EQ(FindInstallationRoot("Q:\\bin\\x.dll"), "Q:\\");
}

TEST(InstallationTest, PathsBelowADirectory) {
  {
    const os::fault::PretendCapabilities facts(FactsOf(false));
    EXPECT_EQ(PathBelow("/opt/x", "/a/b"), "/opt/x/a/b");
    EXPECT_EQ(PathBelow("/", "a\\b"), "/a/b");
    EXPECT_EQ(PathBelow("/opt", ""), "/opt");
    EXPECT_EQ(PathBelow("", "a"), "");
    EXPECT_EQ(InSystemForm("/opt//"), "/opt");
    EXPECT_EQ(InSystemForm("\\"), "/");
  }
  const os::fault::PretendCapabilities facts(FactsOf(true));
  EXPECT_EQ(PathBelow("C:/x", "/a/b"), "C:\\x\\a\\b");
  EXPECT_EQ(PathBelow("C:\\", "a"), "C:\\a");
  EXPECT_EQ(InSystemForm("C://"), "C:\\");
}

TEST(InstallationTest, HostsMayNameAbsolutePathsOnly) {
  const struct {
    std::string path;
    bool onLinux;
    bool onWindows;
  } cases[] = {
      {"/opt/x", true, false},     {"\\opt", true, false},
      {"//srv/share", true, true}, {"C:\\x", false, true},
      {"C:x", false, false},       {"x/y", false, false},
      {"", false, false},          {"/", true, false},
      {"C:/", false, true},        {{"/o\0pt", 5}, false, false},
  };
  for (const auto& c : cases) {
    for (const bool windows : {false, true}) {
      const os::fault::PretendCapabilities facts(FactsOf(windows));
      EXPECT_EQ(IsAcceptableRoot(c.path), windows ? c.onWindows : c.onLinux) << c.path;
    }
  }
}

TEST(LmInfoTest, FindsTheDataBesideTheLibrary) {
  std::string module;
  ASSERT_EQ(os::ModulePath(module), 0u);
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::u8path(module))) << module;

  const LmInfo& info = LmInfo::Instance();
  EXPECT_EQ(&LmInfo::Instance(), &info);
  EXPECT_EQ(info.GetInstallationRoot(), FindInstallationRoot(module));
  EXPECT_EQ(info.GetDataDirectory(), info.GetInstallationRoot() + Native("/share/lumora"));
  EXPECT_THAT(lmktest::ReadWholeFile(info.GetTraceStyleSheet()),
              HasSubstr("xmlns:lmtrace=\"urn::uuid::a4a83aae-be5c-4b2b-9f60-5e937dee9534\""));
  EXPECT_EQ(info.GetDataFile("x"), info.GetDataFile("/x"));
  EXPECT_FALSE(LmInfo::SetInstallationRoot(info.GetInstallationRoot()));
}

// args: a root that is taken, and one that comes too late.
int NameRoot(const std::vector<std::string>& args) {
  if (LmInfo::SetInstallationRoot("relative")) return 1;
  if (!LmInfo::SetInstallationRoot(args[1]) || !LmInfo::SetInstallationRoot(args[0] + "/")) return 2;
  if (LmInfo::Instance().GetInstallationRoot() != Native(args[0])) return 3;
  if (LmInfo::SetInstallationRoot(args[1])) return 4;
  return LmInfo::Instance().GetTraceStyleSheet() == Native(args[0] + "/share/lumora/lmtrace/lmtrace.xsl") ? 0
                                                                                                          : 5;
}
const lmktest::ChildRole kNameRoot("name_root", NameRoot);

TEST(LmInfoTest, HostsMayNameTheRootBeforeFirstUse) {
  const lmktest::TempDir folder;
  const auto child = lmktest::RunSelf("name_root", {folder.File("host"), folder.File("late")});
  EXPECT_EQ(child.exitCode, 0) << child.err;
}

TEST(SystemTest, TellsPlatformSystemAndProcess) {
  EXPECT_THAT(LmInfo::GetPlatformName(), lmktest::IsOfForm("(windows|linux)-[a-z0-9]+"));
  EXPECT_THAT(LmSysInfo::GetOsName(), lmktest::IsOfForm("Windows|Linux"));
  EXPECT_THAT(LmSysInfo::GetOsVersion(), lmktest::IsOfForm("[0-9]+\\.[0-9]+.*"));
  EXPECT_NE(Process::GetCurrentProcId(), 0u);
  EXPECT_EQ(Process::GetCurrentProcId(), Process::GetCurrentProcId());
}

}  // namespace
}  // namespace dp
