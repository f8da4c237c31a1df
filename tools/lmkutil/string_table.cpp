#include "tools/lmkutil/string_table.h"

#include <optional>
#include <sstream>

#include "tools/lmkutil/commands.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

const dp::LMTracer& Tracer() {
  static const dp::LMTracer tracer("lmkutil", "strings");
  return tracer;
}

}  // namespace

du::SmartPtr<du::Lmtrb> LoadTable(const std::string& path, const std::string& bytes) {
  std::istringstream in(WithoutCarriageReturns(bytes));
  auto table = du::MakeShared<du::Lmtrb>(in, path, du::Lmtrb::kAsWritten);
  Tracer()(dp::TraceType::Info) << "loaded " << path << ", " << bytes.size() << " bytes";
  return table;
}

du::SmartPtr<du::Lmtrb> OpenTable(const std::string& path, const Resources& resources, std::string* bytes) {
  const std::optional<std::string> content = ReadFile(path);
  if (!content) {
    PrintError(resources.Text("FILE_UNREADABLE", {path}));
    return nullptr;
  }
  if (bytes) *bytes = *content;
  try {
    return LoadTable(path, *content);
  } catch (const du::LocalizerError& error) {
    Tracer()(dp::TraceType::Error) << path << ": " << error.what();
    PrintError(resources.Text("FILE_REFUSED", {path}));
    return nullptr;
  }
}

}  // namespace lmkutil
