#include "tools/lmkutil/commands.h"

#include <cstdio>
#include <optional>
#include <sstream>

#include "tools/lmkutil/comparison.h"
#include "tools/lmkutil/message_lint.h"
#include "tools/lmkutil/report.h"
#include "tools/lmkutil/string_file.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

using Strings = du::HashMap<du::Symbol, du::Symbol>;

const dp::LMTracer& Tracer() {
  static const dp::LMTracer tracer("lmkutil", "strings");
  return tracer;
}

du::SmartPtr<du::Lmtrb> LoadTable(const std::string& path, const std::string& bytes) {
  std::istringstream in(WithoutCarriageReturns(bytes));
  auto table = du::MakeShared<du::Lmtrb>(in, path, du::Lmtrb::kAsWritten);
  Tracer()(dp::TraceType::Info) << "loaded " << path << ", " << bytes.size() << " bytes";
  return table;
}

// The table of a file, or null and a line on the error stream.
du::SmartPtr<du::Lmtrb> OpenTable(const std::string& path, const Resources& resources) {
  const std::optional<std::string> bytes = ReadFile(path);
  if (!bytes) {
    PrintError(resources.Text("FILE_UNREADABLE", {path}));
    return nullptr;
  }
  try {
    return LoadTable(path, *bytes);
  } catch (const du::LocalizerError& error) {
    Tracer()(dp::TraceType::Error) << path << ": " << error.what();
    PrintError(resources.Text("FILE_REFUSED", {path}));
    return nullptr;
  }
}

// How many arguments a text takes.
long ArgumentCount(const char* text) {
  std::set<long> numbers;
  LintText(text, numbers);
  return numbers.empty() ? 0 : *numbers.rbegin() + 1;
}

// On one line, as it would stand in a file.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const std::size_t special = std::string_view("\\\n\r\t").find(c);
    if (special == std::string_view::npos) {
      escaped += c;
    } else {
      escaped += '\\';
      escaped += "\\nrt"[special];
    }
  }
  return escaped;
}

// The library has the last word: should it refuse a file in which nothing was found, say so.
void AskLibrary(StringFile& file, const std::string& bytes) {
  try {
    LoadTable(file.path, bytes);
  } catch (const du::LocalizerError& error) {
    Tracer()(dp::TraceType::Warning) << file.path << ": " << error.what();
    if (Count({file}).errors == 0)
      file.findings.push_back({1, 1, Severity::kError, "REFUSED", {error.what()}});
  }
}

}  // namespace

ExitStatus Print(const std::string& text, const Resources& resources) {
  if (Write(stdout, text)) return kDone;
  PrintError(resources.Text("OUTPUT_FAILED"));
  return kFoundWrong;
}

void PrintError(const std::string& text) {
  Write(stderr, "lmkutil: " + text + "\n");
}

ExitStatus Show(const Options& options, const Resources& resources) {
  const du::SmartPtr<du::Lmtrb> table = OpenTable(options.file, resources);
  if (!table) return kFoundWrong;
  std::ostringstream out;
  if (table->BuildLocalizedString(out, options.tag.c_str(), true, options.args)) {
    Tracer()(dp::TraceType::Info) << "built " << options.tag << " with " << options.args.size()
                                  << " arguments";
    return Print(out.str() + "\n", resources);
  }
  Strings strings;
  table->AddAllStrings(strings);
  const auto found = strings.find(options.tag);
  if (found == strings.end()) {
    PrintError(resources.Text("TAG_UNKNOWN", {options.file, options.tag}));
  } else {
    PrintError(
        resources.Text("WRONG_COUNT", {options.tag, std::to_string(ArgumentCount(found->second.safe_c_str())),
                                       std::to_string(options.args.size())}));
  }
  return kFoundWrong;
}

ExitStatus List(const Options& options, const Resources& resources) {
  const du::SmartPtr<du::Lmtrb> table = OpenTable(options.file, resources);
  if (!table) return kFoundWrong;
  Strings strings;
  table->AddAllStrings(strings);
  std::string lines;
  for (const auto& [tag, text] : strings) {
    lines += std::string(tag) + "\t" + std::to_string(ArgumentCount(text.safe_c_str())) + "\t" +
             Escaped(text.safe_c_str()) + "\n";
  }
  return Print(lines, resources);
}

ExitStatus Check(const Options& options, const Resources& resources) {
  std::vector<StringFile> files;
  bool allRead = true;
  for (const std::string& path : options.files) {
    const std::optional<std::string> bytes = ReadFile(path);
    if (!bytes) {
      PrintError(resources.Text("FILE_UNREADABLE", {path}));
      allRead = false;
      continue;
    }
    files.push_back(ReadStringFile(path, *bytes));
    AskLibrary(files.back(), *bytes);
  }
  CompareLanguages(files);
  const Totals totals = Count(files);
  const ExitStatus printed =
      Print(options.json ? ReportJson(files, resources) : ReportLines(files, resources), resources);
  const bool isClean = allRead && totals.errors == 0 && (!options.strict || totals.warnings == 0);
  return isClean ? printed : kFoundWrong;
}

}  // namespace lmkutil
