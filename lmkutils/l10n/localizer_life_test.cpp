// Localizers from the first static constructor to the last destructor, through the shared library itself: the
// order of the ends is another one where everything is linked into one program.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/l10n/localizer.h"
#include "lmkutils/l10n/testing/strings_file.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using du::AssembleArgs;
using du::Localizer;
using testing::IsEmpty;

constexpr char kError[] = "<localization error>";

// A localizer that lives as long as the program, and is used by the last destructors. Only the child uses it.
class Keeper {
 public:
  Keeper() {
    const char* const root = std::getenv("LMK_KEEPER_ROOT");
    if (root == nullptr) return;
    dp::LmInfo::SetInstallationRoot(root);
    if (std::getenv("LMK_KEEPER_EARLY") != nullptr) Make();
  }
  ~Keeper() {
    if (std::getenv("LMK_KEEPER_ROOT") == nullptr) return;
    if (!IsMade()) {
      std::printf("%s\n", Localizer("p:r").LocalizeMessage("B").c_str());
      std::fflush(stdout);
      return;
    }
    std::printf("%s ", localizer_->LocalizeMessage("A", AssembleArgs() << 1).c_str());
    const Localizer copy(*localizer_);
    localizer_.reset();
    std::printf("%s ", copy.LocalizeMessage("B", Localizer::kStaySilent).c_str());
    const Localizer late("p:r");
    std::printf("%s ", late.LocalizeMessage("A", AssembleArgs() << 2).c_str());
    const Localizer other("p:other");
    std::printf("%s\n", other.LocalizeMessage("A", AssembleArgs() << 3).c_str());
    std::fflush(stdout);
  }
  void Make() { localizer_ = std::make_unique<Localizer>("p:r"); }
  bool IsMade() const { return localizer_ != nullptr; }

 private:
  std::unique_ptr<Localizer> localizer_;
};
Keeper keeper;

const lmktest::ChildRole kKeep("keep_localizer", [](const std::vector<std::string>&) {
  if (!keeper.IsMade()) keeper.Make();
  return 0;
});

// Makes what localizers need, and none.
const lmktest::ChildRole kKeepNone("keep_no_localizer", [](const std::vector<std::string>&) {
  static_cast<void>(dp::LmInfo::Instance());
  static_cast<void>(du::Symbol("symbol"));
  return 0;
});

TEST(LocalizerLifeTest, StaticObjectsUseItFromTheFirstConstructorToTheLastDestructor) {
  const lmktest::TempDir folder("life");
  for (const char* const resource : {"r", "other"}) {
    lmktest::PutStringsFile(folder, "en", resource, "A.value=a{0}\nB.value=b\n");
  }
  const auto live = [&folder](lmktest::Environment environment, const char* role = "keep_localizer") {
    environment.insert(environment.end(), {{"LMK_KEEPER_ROOT", folder.Path()}, {"LUMORA_LANG", "en"}});
    return lmktest::RunSelf(role, {}, environment);
  };
  const auto early = live({{"LMK_KEEPER_EARLY", "1"}});
  EXPECT_EQ(early.out, "a1 b a2 a3\n") << early.err;
  EXPECT_EQ(early.exitCode, 0);
  EXPECT_THAT(early.err, IsEmpty());
  // Made in main: the destructor of the program's object comes before the end of the library's objects where
  // a library ends with its unloading, and after it elsewhere.
  const auto late = live({});
  const bool isGone = dp::LmSysInfo::GetOsName() != "Windows";
  EXPECT_EQ(late.out, isGone ? std::string("a1 b ") + kError + " " + kError + "\n" : "a1 b a2 a3\n")
      << late.err;
  EXPECT_EQ(late.exitCode, 0);
  EXPECT_THAT(late.err, IsEmpty());
  // The first one of all, made in the destructor.
  const auto last = live({}, "keep_no_localizer");
  EXPECT_EQ(last.out, isGone ? std::string(kError) + "\n" : "b\n") << last.err;
  EXPECT_EQ(last.exitCode, 0);
}

}  // namespace
