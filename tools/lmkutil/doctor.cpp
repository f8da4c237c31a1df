#include "tools/lmkutil/doctor.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

#include "tools/lmkutil/language_tree.h"
#include "tools/lmkutil/table.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace lmkutil {
namespace {

using dp::Environment;
using dp::LmInfo;
using du::FileSystem;

constexpr char kNothing[] = "-";

struct Variable {
  const char* name;
  const char* effect;  // the tag of the text that tells it
};

constexpr Variable kVariables[] = {
    {"LUMORA_LANG", "DOCTOR_LUMORA_LANG"},
    {"LUMORA_TRACE", "DOCTOR_LUMORA_TRACE"},
    {"LUMORA_PROC_TRACE", "DOCTOR_LUMORA_PROC_TRACE"},
    {"LUMORA_TRACE_FORMAT", "DOCTOR_LUMORA_TRACE_FORMAT"},
    {"LUMORA_TRACE_LEVEL", "DOCTOR_LUMORA_TRACE_LEVEL"},
    {"TRACKING_ID", "DOCTOR_TRACKING_ID"},
    {"LMTRACE_DEBUG", "DOCTOR_LMTRACE_DEBUG"},
    {"LUMORA_TEMP", "DOCTOR_LUMORA_TEMP"},
    {"LUMORA_DISABLE_64BIT_ZIP", "DOCTOR_SHORT_ZIP"},
    {"HomeDrive", "DOCTOR_HOME_DRIVE"},
    {"HomePath", "DOCTOR_HOME_DRIVE"},
    {"LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT", "DOCTOR_HIGHERSPEED"},
    {"LUMORA_MEM_MAXSPEED_MAXFOOTPRINT", "DOCTOR_MAXSPEED"},
};
// What the system's own variables do to the library, where it has no other word from the system.
constexpr Variable kSystemVariables[] = {
    {"LC_ALL", "DOCTOR_LOCALE"},      {"LC_MESSAGES", "DOCTOR_LOCALE"}, {"LANG", "DOCTOR_LOCALE"},
    {"HOME", "DOCTOR_HOME_VARIABLE"}, {"TMPDIR", "DOCTOR_TMPDIR"},
};

std::string OrNothing(const std::string& text) {
  return text.empty() ? kNothing : text;
}

// With the separators of the system, so that the user can hand it to other programs.
std::string InSystemForm(std::string path) {
  if (dp::LmSysInfo::GetOsName() == "Windows") std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

class Report {
 public:
  explicit Report(const Resources& resources) : resources_(resources) {}

  void AddVersions();
  void AddLanguage();
  void AddFolders();
  void AddVariables();
  void AddStringsFiles();
  void CheckOwnTexts();
  void CheckTraceTarget();

  // Everything, with the problems at the end.
  std::string Text() const;
  bool HasProblems() const { return !problems_.empty(); }

 private:
  void Line(const char* tag, const std::vector<std::string>& args) {
    text_ += resources_.Text(tag, args) + "\n";
  }
  void Head(const char* tag) { text_ += "\n" + resources_.Text(tag) + "\n"; }
  void Problem(const char* tag, const std::vector<std::string>& args) {
    problems_.push_back(resources_.Text(tag, args));
  }
  std::string CountMessages(const std::string& path);

  const Resources& resources_;
  const LmInfo& info_ = LmInfo::Instance();
  std::string text_;
  std::vector<std::string> problems_;
};

void Report::AddVersions() {
  Line("DOCTOR_VERSION", {LMKUTIL_VERSION, LmInfo::GetVersion(), LmInfo::GetPlatformName()});
  Line("DOCTOR_SYSTEM", {OrNothing(dp::LmSysInfo::GetOsName()), OrNothing(dp::LmSysInfo::GetOsVersion())});
  if (std::string(LMKUTIL_VERSION) != LmInfo::GetVersion()) {
    Problem("DOCTOR_OTHER_VERSION", {LMKUTIL_VERSION, LmInfo::GetVersion()});
  }
}

void Report::AddLanguage() {
  const char* tag = "DOCTOR_LANGUAGE_DEFAULT";
  switch (info_.GetLanguageSource()) {
    case LmInfo::LanguageSource::kVariable:
      tag = "DOCTOR_LANGUAGE_VARIABLE";
      break;
    case LmInfo::LanguageSource::kSystem:
      tag = "DOCTOR_LANGUAGE_SYSTEM";
      break;
    case LmInfo::LanguageSource::kDefault:
      break;
  }
  std::vector<std::string> args{info_.GetLanguage()};
  if (info_.GetLanguageSource() != LmInfo::LanguageSource::kVariable) {
    args.push_back(OrNothing(info_.GetSystemLocale()));
  }
  Line(tag, args);
  if (!info_.WasLanguageRefused()) return;
  std::string codes;
  for (const std::string& code : LmInfo::GetSupportedLanguages()) codes += (codes.empty() ? "" : ", ") + code;
  Problem("DOCTOR_BAD_LANGUAGE", {Environment::Get("LUMORA_LANG"), codes});
}

void Report::AddFolders() {
  const std::string& data = info_.GetDataDirectory();
  const std::string temporary = FileSystem::GetTempDir(false);
  Line("DOCTOR_ROOT", {OrNothing(info_.GetInstallationRoot())});
  Line("DOCTOR_DATA", {OrNothing(data)});
  Line("DOCTOR_TEMPORARY", {OrNothing(temporary)});
  Line("DOCTOR_HOME", {OrNothing(FileSystem::GetHomeDir())});
  Line("DOCTOR_DOCUMENTS", {OrNothing(FileSystem::GetDocumentsDir())});
  if (!FileSystem::DirExists(data.c_str())) Problem("DOCTOR_NO_DATA", {OrNothing(data)});
  if (!FileSystem::DirExists(temporary.c_str()) || !FileSystem::HasWritePermissions(temporary.c_str())) {
    Problem("DOCTOR_BAD_TEMPORARY", {OrNothing(temporary)});
  }
}

void Report::AddVariables() {
  Table table({{resources_.Text("DOCTOR_VARIABLE"), Align::kLeft},
               {resources_.Text("DOCTOR_VALUE"), Align::kLeft},
               {resources_.Text("DOCTOR_EFFECT"), Align::kLeft}});
  const auto add = [&](const Variable& variable) {
    table.AddRow(
        {variable.name, OrNothing(Environment::Get(variable.name)), resources_.Text(variable.effect)});
  };
  for (const Variable& variable : kVariables) add(variable);
  if (dp::LmSysInfo::GetOsName() != "Windows") {
    for (const Variable& variable : kSystemVariables) add(variable);
  }
  Head("DOCTOR_VARIABLES");
  text_ += table.Text();
}

// Loads the file as the library does; nothing, and a problem, when that fails.
std::string Report::CountMessages(const std::string& path) {
  const std::optional<std::string> bytes = ReadFile(path);
  if (!bytes) {
    Problem("FILE_UNREADABLE", {path});
    return kNothing;
  }
  std::istringstream in(WithoutCarriageReturns(*bytes));
  try {
    const auto table = du::MakeShared<du::Lmtrb>(in, path, du::Lmtrb::kAsWritten);
    du::HashMap<du::Symbol, du::Symbol> messages;
    table->AddAllStrings(messages);
    return std::to_string(messages.size());
  } catch (const du::LocalizerError&) {
    Problem("FILE_REFUSED", {path});
    return kNothing;
  }
}

void Report::AddStringsFiles() {
  Table table({{resources_.Text("DOCTOR_LANGUAGE"), Align::kLeft},
               {resources_.Text("DOCTOR_MESSAGES"), Align::kRight},
               {resources_.Text("DOCTOR_FILE"), Align::kLeft}});
  for (const Product& product : FindProducts(info_.GetInstallationRoot())) {
    for (const LanguageFolder& language : product.languages) {
      for (const std::string& name : language.files) {
        const std::string path = InSystemForm(language.path + "/" + name);
        table.AddRow({language.code, CountMessages(path), path});
      }
    }
  }
  Head("DOCTOR_STRINGS_FILES");
  text_ += table.Text();
}

void Report::CheckOwnTexts() {
  const std::string english = info_.GetFallbackLmtrbFile(kProduct, kResource);
  if (english.empty()) {
    Problem("DOCTOR_NO_TEXTS", {OrNothing(info_.GetLmtrbFile("en", kProduct, kResource))});
  } else if (info_.GetPrimaryLmtrbFile(kProduct, kResource).empty()) {
    Problem("DOCTOR_NO_TRANSLATION", {info_.GetLmtrbFile(info_.GetLanguage(), kProduct, kResource)});
  }
}

// A file of traces that cannot be made is missed only when it is needed.
void Report::CheckTraceTarget() {
  std::string target = Environment::Get("LUMORA_PROC_TRACE");
  if (target.empty()) target = Environment::Get("LUMORA_TRACE");
  if (target.empty() || target == "stdout" || target == "stderr") return;
  const du::FileSpec spec(FileSystem::MakePathAbsolute(target.c_str()));
  std::string folder;
  spec.GetLocation(&folder, false);
  if (!FileSystem::DirExists(folder.c_str()) || FileSystem::DirExists(target.c_str()) ||
      !FileSystem::HasWritePermissions(folder.c_str())) {
    Problem("DOCTOR_BAD_TRACE", {target});
  }
}

std::string Report::Text() const {
  std::string text = text_ + "\n";
  for (const std::string& problem : problems_) text += resources_.Text("DOCTOR_PROBLEM", {problem}) + "\n";
  return text + resources_.Text("DOCTOR_SUMMARY", {std::to_string(problems_.size())}) + "\n";
}

}  // namespace

ExitStatus Doctor(const Resources& resources) {
  Report report(resources);
  report.AddVersions();
  report.AddLanguage();
  report.AddFolders();
  report.AddVariables();
  report.AddStringsFiles();
  report.CheckOwnTexts();
  report.CheckTraceTarget();
  const ExitStatus printed = Print(report.Text(), resources);
  return report.HasProblems() ? kFoundWrong : printed;
}

}  // namespace lmkutil
