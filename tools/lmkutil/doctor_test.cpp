// "lmkutil doctor", and the tool in installations that are not what they should be.
#include <filesystem>
#include <string>
#include <vector>

#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>

#include "lmkutils/platform/lm_info.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

namespace fs = std::filesystem;

using lmktest::ChildResult;
using lmktest::Environment;
using lmktest::RunTool;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The tool and the libraries that lie beside it, copied to a folder of their own, without any data.
class BareInstallation {
 public:
  BareInstallation() {
    const fs::path tool = fs::u8path(lmktest::ToolPath());
    fs::create_directory(fs::u8path(folder_.File("bin")));
    for (const fs::directory_entry& entry : fs::directory_iterator(tool.parent_path())) {
      const std::string name = entry.path().filename().string();
      const bool isLibrary = name.find("liblmkutils.so") != name.npos || name.ends_with(".dll");
      if (isLibrary || entry.path() == tool) {
        fs::copy_file(entry.path(), fs::u8path(folder_.File("bin/" + name)));
      }
    }
    tool_ = folder_.File("bin/" + std::string(tool.filename().string()));
  }
  std::string Write(const std::string& name, const std::string& bytes) const {
    fs::create_directories(fs::u8path(folder_.File(name)).parent_path());
    return folder_.Write(name, bytes);
  }
  ChildResult Run(const std::vector<std::string>& arguments, const Environment& environment) const {
    Environment all{{"LD_LIBRARY_PATH", folder_.File("bin")}};
    all.insert(all.end(), environment.begin(), environment.end());
    return RunTool(arguments, all, tool_);
  }

 private:
  const lmktest::TempDir folder_{"bare"};
  std::string tool_;
};

TEST(DoctorTest, TellsWhatTheLibrarySees) {
  const ChildResult result = RunTool({"doctor"}, {{"LUMORA_LANG", "en"}, {"TRACKING_ID", "build 7"}});
  EXPECT_EQ(0, result.exitCode) << result.out;
  EXPECT_EQ("", result.err);
  EXPECT_THAT(result.out,
              StartsWith("Version: lmkutil " LMKUTIL_VERSION ", library " LMKUTIL_VERSION ", for " +
                         std::string(dp::LmInfo::GetPlatformName()) + "\n"));
  const std::string root = dp::LmInfo::Instance().GetInstallationRoot();
  for (const std::string& part :
       {std::string("\nLanguage: en, since LUMORA_LANG says so\n"), "\nInstallation: " + root + "\n",
        std::string("\nLUMORA_TRACE "), std::string("  build 7 "), std::string("  a text for every record"),
        "  " + dp::LmInfo::Instance().GetLmtrbFile("ja", "lumora", "lmkutil") + "\n"}) {
    EXPECT_THAT(result.out, HasSubstr(part));
  }
  EXPECT_THAT(result.out, EndsWith("\n\nProblems found: 0\n"));
  EXPECT_THAT(RunTool({"doctor"}, {{"LUMORA_LANG", "de"}}).out, EndsWith("\n\nGefundene Probleme: 0\n"));
}

TEST(DoctorTest, NamesEachProblemAndItsRemedy) {
  const lmktest::TempDir folder;
  const std::string missing = folder.File("missing");
  struct Case {
    Environment environment;
    std::string problem;
  };
  for (const Case& c :
       {Case{{{"LUMORA_LANG", "tlh"}}, "\nProblem: LUMORA_LANG is \"tlh\", which is no language"},
        Case{{{"LUMORA_LANG", "en"}, {"LUMORA_TEMP", missing}}, "LUMORA_TEMP to a folder"},
        Case{{{"LUMORA_LANG", "en"}, {"LUMORA_TRACE", missing + "/trace.log"}},
             "no trace can be written to \"" + missing}}) {
    const ChildResult result = RunTool({"doctor"}, c.environment);
    if (c.environment[0].second == "en") {
      EXPECT_THAT(result.out, AllOf(HasSubstr(c.problem), EndsWith("\nProblems found: 1\n")));
    } else if (dp::LmInfo::Instance().GetLanguage() == "en") {
      EXPECT_THAT(result.out, HasSubstr(c.problem));
    }
    EXPECT_EQ(1, result.exitCode);
  }
}

TEST(DoctorTest, ToolSpeaksWithoutItsStringsFiles) {
  const BareInstallation installation;
  const Environment german{{"LUMORA_LANG", "de"}};
  const ChildResult help = installation.Run({"--help"}, german);
  EXPECT_EQ(0, help.exitCode) << help.err;
  EXPECT_THAT(help.out, HasSubstr("\nUsage: lmkutil COMMAND"));

  const ChildResult doctor = installation.Run({"doctor"}, german);
  EXPECT_EQ(1, doctor.exitCode) << doctor.err;
  EXPECT_THAT(doctor.out,
              AllOf(HasSubstr("\nProblem: the folder \""), HasSubstr("texts of lmkutil are missing"),
                    EndsWith("\nProblems found: 2\n")));
}

TEST(DoctorTest, BrokenAndMissingStringsFilesAreNamed) {
  const BareInstallation installation;
  installation.Write("share/lumora/en/lmkutil.lmtrb", "DOCTOR_SUMMARY.value=all {0}\n");
  installation.Write("share/lumora/fr/lmkutil.lmtrb", "no entry\n");
  installation.Write("share/other/en/more.lmtrb", "A.value=x\n");
  const ChildResult missing = installation.Run({"doctor"}, {{"LUMORA_LANG", "de"}});
  EXPECT_EQ(1, missing.exitCode);
  // A text that the installed file lacks comes from the tool itself.
  EXPECT_THAT(missing.out, AllOf(HasSubstr("\nProblem: texts are shown in English; install \""),
                                 HasSubstr("more.lmtrb\n"), HasSubstr("\nProblem: cannot load \""),
                                 Not(HasSubstr("texts of lmkutil are missing")), EndsWith("\nall 2\n")));
  // The localizer takes nothing of a resource one of whose files is broken.
  EXPECT_THAT(installation.Run({"doctor"}, {{"LUMORA_LANG", "fr"}}).out, EndsWith("\nProblems found: 1\n"));
}

}  // namespace
