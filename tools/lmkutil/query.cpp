#include "tools/lmkutil/query.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/printable.h"
#include "tools/lmkutil/progress.h"
#include "tools/lmkutil/query_explanation.h"
#include "tools/lmkutil/record_view.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/data/dbase.h"
#include "lmkutils/data/query_fault.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

using du::Dbase;

// A misspelt name is no fault of the query, but hardly what was meant.
void WarnOfUnknownNames(const std::string& query, const Dbase& records, const Resources& resources) {
  constexpr auto& kKnown = attribute::kAll;
  std::string known;
  for (const char* const name : kKnown) known += (known.empty() ? "" : ", ") + std::string(name);
  std::set<std::string> told;
  for (const std::string& name : AttributesIn(query)) {
    if (std::find(kKnown.begin(), kKnown.end(), name) != kKnown.end() || !told.insert(name).second) continue;
    if (!records.PerformQuery("<" + name + ">").empty()) continue;
    PrintError(resources.Text("QUERY_UNKNOWN_NAME", {Printable(name), known}));
  }
}

// kDone, or what is wrong was written to the error stream.
ExitStatus Find(const std::string& catalogue, const std::string& query, const Resources& resources,
                Dbase& records, Dbase::IdList& found) {
  static const dp::LMTracer tracer("lmkutil", "query");
  if (const auto fault = du::FindQueryFault(query)) {
    tracer(dp::TraceType::Error) << "malformed query, from byte " << fault->position << " on: " << query;
    PrintError(ExplainQueryFault(query, *fault, resources));
    return kWrongUsage;
  }
  Progress progress;
  progress.Show(resources.Text("QUERY_LOADING"));
  const char* const failure = LoadCatalogue(catalogue, records);
  progress.Clear();
  if (failure != nullptr) {
    PrintError(resources.Text(failure, {catalogue}));
    return kFoundWrong;
  }
  try {
    found = records.PerformQuery(query);
  } catch (const std::runtime_error& error) {
    tracer(dp::TraceType::Error) << error.what();
    PrintError(resources.Text("QUERY_FAILED", {error.what()}));
    return kFoundWrong;
  }
  tracer(dp::TraceType::Info) << "found " << found.size() << " records in " << catalogue;
  WarnOfUnknownNames(query, records, resources);
  return kDone;
}

RecordForm FormOf(const Options& options) {
  if (options.json) return RecordForm::kJson;
  return options.csv ? RecordForm::kCsv : RecordForm::kTable;
}

}  // namespace

ExitStatus Query(const Options& options, const Resources& resources) {
  Dbase records;
  Dbase::IdList found;
  const ExitStatus status = Find(options.file, options.query, resources, records, found);
  if (status != kDone) return status;
  const RecordView view(records, found);
  const auto put = [](const std::string& text) { return Write(stdout, text); };
  bool isWritten = view.Write(FormOf(options), put);
  if (isWritten && FormOf(options) == RecordForm::kTable) {
    isWritten = put(resources.Text("QUERY_SUMMARY", {std::to_string(found.size())}) + "\n");
  }
  if (isWritten) return kDone;
  PrintError(resources.Text("OUTPUT_FAILED"));
  return kFoundWrong;
}

ExitStatus FindPaths(const std::string& catalogue, const std::string& query, const Resources& resources,
                     std::vector<std::string>& paths) {
  Dbase records;
  Dbase::IdList found;
  const ExitStatus status = Find(catalogue, query, resources, records, found);
  if (status != kDone) return status;
  paths.reserve(found.size());
  for (const unsigned id : found) {
    for (const auto& [name, value] : records.GetAttributes(id, attribute::kPath)) paths.emplace_back(value);
  }
  return kDone;
}

}  // namespace lmkutil
