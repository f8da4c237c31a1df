// Which language dp::LmInfo chooses, and where it looks for the strings files of a resource.
#include "lmkutils/platform/internal/language.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/user_locale.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/pattern.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/trace_recorder.h"

namespace dp {
namespace {

using internal::ChooseLanguage;
using internal::LanguageChoice;
using testing::ElementsAre;

TEST(LanguageTest, WishDecidesBeforeTheSystem) {
  struct Case {
    const char* wish;
    const char* language;
    bool isForced;
    bool pseudo;
    bool pseudoFallback;
    const char* refused;  // null: nothing was
  };
  const Case cases[] = {
      {"", "fr", false, false, false, nullptr},
      {"de", "de", true, false, false, nullptr},
      {"zh_TW", "zh_TW", true, false, false, nullptr},
      {"pt_BR", "pt_BR", true, false, false, nullptr},
      {"DE", "fr", false, false, false, "DE"},
      {"zh_cn", "fr", false, false, false, "zh_cn"},
      {"zh", "fr", false, false, false, "zh"},
      {"de_DE", "fr", false, false, false, "de_DE"},
      {" de", "fr", false, false, false, " de"},
      {"l10n", "fr", false, false, false, "l10n"},
      {"pseudo", "pseudo", true, true, false, nullptr},
      {"PsEuDo", "PsEuDo", true, true, false, nullptr},
      {"pseudo_ja", "ja", true, false, true, nullptr},
      {"PSEUDO_zh_CN", "zh_CN", true, false, true, nullptr},
      {"pseudo_L10N", "fr", false, false, true, nullptr},
      {"pseudo_nl", "fr", false, false, true, "nl"},
      {"pseudo_", "fr", false, false, true, ""},
      {"pseudo_pseudo", "fr", false, false, true, "pseudo"},
      {"pseudonym", "fr", false, false, false, "pseudonym"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.wish);
    const LanguageChoice choice = ChooseLanguage(c.wish, "fr_CA.UTF-8");
    EXPECT_EQ(choice.language, c.language);
    EXPECT_EQ(choice.isForced, c.isForced);
    EXPECT_TRUE(choice.isKnown);
    EXPECT_EQ(choice.pseudo, c.pseudo);
    EXPECT_EQ(choice.pseudoFallback, c.pseudoFallback);
    EXPECT_EQ(choice.refused, c.refused ? std::optional<std::string>(c.refused) : std::nullopt);
  }
}

TEST(LanguageTest, LocalesOfTheSystemBecomeSupportedCodes) {
  const struct {
    const char* locale;
    const char* language;  // "" for none: English
  } cases[] = {
      {"de_DE.UTF-8", "de"},
      {"de-AT", "de"},
      {"DE", "de"},
      {"fr_BE@euro", "fr"},
      {"pt_PT", "pt_BR"},
      {"pt-BR", "pt_BR"},
      {"zh_CN.GB18030", "zh_CN"},
      {"zh", "zh_CN"},
      {"zh-SG", "zh_CN"},
      {"zh_TW", "zh_TW"},
      {"zh-HK", "zh_TW"},
      {"zh-Hant-CN", "zh_TW"},
      {"zh-Hans-HK", "zh_CN"},
      {"zh_MO.UTF-8", "zh_TW"},
      {"C", ""},
      {"POSIX", ""},
      {"C.UTF-8", ""},
      {"nl_NL.UTF-8", ""},
      {"", ""},
      {"_DE", ""},
      {"deu", ""},
      {".UTF-8", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(internal::LanguageOfLocale(c.locale), c.language) << c.locale;
    const LanguageChoice choice = ChooseLanguage("", c.locale);
    EXPECT_EQ(choice.isKnown, *c.language != '\0') << c.locale;
    EXPECT_EQ(choice.language, choice.isKnown ? c.language : "en") << c.locale;
  }
}

TEST(LanguageTest, WordsThatCouldLeadElsewhereAreRefused) {
  for (const char* const word : {"lmkutil", "a b", "a.b", "v2.", "\xE6\x97\xA5", "-", "\x7F"}) {
    EXPECT_TRUE(internal::IsResourceWord(word)) << word;
  }
  for (const std::string& word :
       {std::string(), std::string("."), std::string(".."), std::string(".hidden"), std::string("a..b"),
        std::string(".. "), std::string("a/b"), std::string("/a"), std::string("a\\b"), std::string("C:"),
        std::string("a:b"), std::string("a*"), std::string("a\n"), std::string("a\0b", 3)}) {
    EXPECT_FALSE(internal::IsResourceWord(word)) << word;
  }
}

// Prints what the object answers for product "p" and the resources named, and what was traced when it was
// made.
int TellLanguage(const std::vector<std::string>& args) {
  lmktest::TraceRecorder recorder;
  LmInfo::SetInstallationRoot(args[0]);
  const LmInfo& info = LmInfo::Instance();
  const std::size_t rootLength = info.GetInstallationRoot().size();
  for (const lmktest::TracedRecord& record : recorder.Take()) {
    std::printf("%d %s %s %s\n", static_cast<int>(record.type), record.key.c_str(), record.subKey.c_str(),
                record.text.c_str());
  }
  for (std::size_t i = 1; i < args.size(); ++i) {
    std::string primary = info.GetPrimaryLmtrbFile("p", args[i]);
    std::string fallback = info.GetFallbackLmtrbFile("p", args[i]);
    for (std::string* const path : {&primary, &fallback}) {
      if (!path->empty()) path->erase(0, rootLength);
      std::replace(path->begin(), path->end(), '\\', '/');
    }
    std::printf("%s|%s\n", primary.c_str(), fallback.c_str());
  }
  return static_cast<int>(LmInfo::Instance().GetLanguageSource());
}
const lmktest::ChildRole kTellLanguage("tell_language", TellLanguage);

class LmInfoLanguageTest : public testing::Test {
 protected:
  void Put(const std::string& path) const {
    const std::filesystem::path file = std::filesystem::u8path(folder_.File(path));
    std::filesystem::create_directories(file.parent_path());
    folder_.Write(path, "A.value=x\n");
  }
  lmktest::ChildResult Tell(const std::string& language, std::vector<std::string> resources = {},
                            const std::string& locale = "fr_FR.UTF-8") const {
    resources.insert(resources.begin(), folder_.Path());
    return lmktest::RunSelf("tell_language", resources, {{"LUMORA_LANG", language}, {"LC_ALL", locale}});
  }

  const lmktest::TempDir folder_{"strings"};
};

TEST_F(LmInfoLanguageTest, ChoiceIsTraced) {
  EXPECT_EQ(Tell("de").out, "0 utils LmInfo Overriding system language to \"de\".\n");
  EXPECT_EQ(Tell("Pseudo").out, "0 utils LmInfo Overriding system language to \"Pseudo\".\n");
  const auto refused = Tell("xx");
  EXPECT_THAT(refused.out, lmktest::IsOfForm("2 utils LmInfo LUMORA_LANG set to invalid value \"xx\"\\.\n"
                                             "0 utils LmInfo Using system language \"[a-zA-Z_]+\"\\.\n"));
  EXPECT_NE(refused.exitCode, static_cast<int>(LmInfo::LanguageSource::kVariable));
}

TEST_F(LmInfoLanguageTest, LinuxReadsTheLocaleFromTheEnvironment) {
  if (os::GetCapabilities().environmentIsWide) GTEST_SKIP() << "the system keeps a language for the user";
  EXPECT_EQ(Tell("", {}, "it_CH.UTF-8").out, "0 utils LmInfo Using system language \"it\".\n");
  const auto unknown = Tell("", {}, "C");
  EXPECT_EQ(unknown.out, "0 utils LmInfo Using system language \"en\".\n");
  EXPECT_EQ(unknown.exitCode, static_cast<int>(LmInfo::LanguageSource::kDefault));
  const auto third =
      lmktest::RunSelf("tell_language", {folder_.Path()},
                       {{"LUMORA_LANG", ""}, {"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "ko_KR.UTF-8"}});
  EXPECT_EQ(third.out, "0 utils LmInfo Using system language \"ko\".\n");
  EXPECT_EQ(third.exitCode, static_cast<int>(LmInfo::LanguageSource::kSystem));
}

TEST_F(LmInfoLanguageTest, WindowsTellsTheLanguageOfTheUser) {
  if (!os::GetCapabilities().environmentIsWide) GTEST_SKIP() << "the locale is a matter of the environment";
  EXPECT_THAT(os::UserLocale(), lmktest::IsOfForm("[a-z]{2,3}(-[A-Za-z]+)*"));
}

TEST_F(LmInfoLanguageTest, StringsFilesOfEachLanguage) {
  Put("share/p/en/r.lmtrb");
  Put("share/p/zh_TW/r.lmtrb");
  Put("share/p/zh/r.lmtrb");
  Put("share/p/zh/base.lmtrb");
  Put("share/p/zh_TW/directory.lmtrb/x");
  const auto lines = [](const lmktest::ChildResult& result) {
    return result.out.substr(result.out.find('\n') + 1);
  };
  EXPECT_EQ(lines(Tell("zh_TW", {"r", "base", "none", "directory"})),
            "/share/p/zh_TW/r.lmtrb|/share/p/en/r.lmtrb\n"
            "/share/p/zh/base.lmtrb|\n"
            "|\n"
            "|\n");
  EXPECT_EQ(lines(Tell("zh_CN", {"r"})), "/share/p/zh/r.lmtrb|/share/p/en/r.lmtrb\n");
  EXPECT_EQ(lines(Tell("ko", {"r"})), "|/share/p/en/r.lmtrb\n");
  EXPECT_EQ(lines(Tell("pseudo", {"r", "base"})), "/share/p/en/r.lmtrb|/share/p/en/r.lmtrb\n|\n");
  EXPECT_EQ(lines(Tell("en", {"../p/en/r", "..", "r/", "en\\r"})), "|\n|\n|\n|\n");
}

TEST(LmInfoTest, TellsWhereAStringsFileBelongs) {
  const LmInfo& info = LmInfo::Instance();
  EXPECT_EQ(info.GetLmtrbFile("ja", "lumora", "lmkutil"), info.GetDataFile("ja/lmkutil.lmtrb"));
  EXPECT_EQ(info.GetLmtrbFile("..", "lumora", "lmkutil"), "");
  EXPECT_EQ(info.GetLmtrbFile("ja", "", "lmkutil"), "");
  EXPECT_THAT(LmInfo::GetSupportedLanguages(),
              ElementsAre("de", "en", "fr", "es", "it", "ja", "ko", "zh_CN", "zh_TW", "ru", "pt_BR"));
}

}  // namespace
}  // namespace dp
