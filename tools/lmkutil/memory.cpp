#include "tools/lmkutil/memory.h"

#include <optional>
#include <string_view>

#include "tools/lmkutil/drawing.h"
#include "tools/lmkutil/memory_graph.h"
#include "tools/lmkutil/memory_report.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/text/encoding.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

// A block with less than a quarter of its elements in use counts as sparse.
constexpr float kSparseBelow = 0.25F;

class Words {
 public:
  // Every run of letters and digits is a word; what is not ASCII counts as a letter.
  void AddAll(std::string_view text) {
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
      if (i < text.size() && BelongsToWord(text[i])) continue;
      if (i > start) Add(text.substr(start, i - start));
      start = i + 1;
    }
  }

  Workload Measure(std::size_t files) const { return {files, total_, counts_.size()}; }

 private:
  static bool BelongsToWord(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
  }
  void Add(std::string_view word) {
    ++counts_[du::Symbol(std::string(word))];
    ++total_;
  }

  du::HashMap<du::Symbol, unsigned> counts_;
  std::size_t total_ = 0;
};

// False, and a line on the error stream, when one of the files cannot be read.
bool AddFiles(const std::vector<std::string>& paths, Words& words, const Resources& resources) {
  bool allRead = true;
  for (const std::string& path : paths) {
    if (const std::optional<std::string> bytes = ReadFile(path)) {
      words.AddAll(du::RepairUtf8(*bytes));
    } else {
      PrintError(resources.Text("FILE_UNREADABLE", {path}));
      allRead = false;
    }
  }
  return allRead;
}

// False, and a line on the error stream, when there is no picture.
bool DrawInto(const std::string& path, const MemoryGraph& graph, const Resources& resources) {
  switch (DrawSvg(ReportDot(graph, resources), path)) {
    case Drawing::kDone:
      return true;
    case Drawing::kNoGraphviz:
      PrintError(resources.Text("GRAPHVIZ_MISSING", {path}));
      break;
    case Drawing::kUnwritable:
      PrintError(resources.Text("FILE_UNWRITABLE", {path}));
      break;
  }
  return false;
}

}  // namespace

ExitStatus Memory(const Options& options, const Resources& resources) {
  static const dp::LMTracer tracer("lmkutil", "memory");
  std::vector<std::string> paths = options.files;
  if (paths.empty()) paths.push_back(dp::LmInfo::Instance().GetDataFile("en/lmkutil.lmtrb"));
  Words words;
  if (!AddFiles(paths, words, resources)) return kFoundWrong;

  const Workload workload = words.Measure(paths.size());
  const MemoryGraph graph = ReadMemoryGraph();
  du::MemPoolBlockStatistics statistics;
  du::CommonAllocatorImpl::GetBlockStatistics(statistics, kSparseBelow);
  tracer(dp::TraceType::Info) << "kept " << workload.differentWords << " words out of " << workload.words
                              << "; the graph has " << graph.controls.size() << " controls";

  const bool isDrawn = options.svg.empty() || DrawInto(options.svg, graph, resources);
  const ExitStatus printed =
      Print(options.dot ? ReportDot(graph, resources) : ReportTables(workload, graph, statistics, resources),
            resources);
  return isDrawn ? printed : kFoundWrong;
}

}  // namespace lmkutil
