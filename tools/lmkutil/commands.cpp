#include "tools/lmkutil/commands.h"

#include <cstdio>
#include <set>
#include <sstream>

#include "tools/lmkutil/comparison.h"
#include "tools/lmkutil/message_lint.h"
#include "tools/lmkutil/string_lines.h"
#include "tools/lmkutil/string_table.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/l10n/lmtrb.h"
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

// How many arguments a text takes.
long ArgumentsOf(const char* text) {
  std::set<long> numbers;
  LintText(text, numbers);
  return ArgumentCount(numbers);
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
        resources.Text("WRONG_COUNT", {options.tag, std::to_string(ArgumentsOf(found->second.safe_c_str())),
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
    lines += std::string(tag) + "\t" + std::to_string(ArgumentsOf(text.safe_c_str())) + "\t" +
             EncodeValue(text.safe_c_str()) + "\n";
  }
  return Print(lines, resources);
}

}  // namespace lmkutil
