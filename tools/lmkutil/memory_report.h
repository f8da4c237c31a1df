// How the findings of "memory" are shown.
#ifndef LMKUTIL_MEMORY_REPORT_H
#define LMKUTIL_MEMORY_REPORT_H

#include <cstddef>
#include <string>

#include "tools/lmkutil/memory_graph.h"
#include "tools/lmkutil/resources.h"

#include "lmkutils/memory/mem_pool_block_statistics.h"

namespace lmkutil {

// What was done before the memory was looked at.
struct Workload {
  std::size_t files = 0;
  std::size_t words = 0;
  std::size_t differentWords = 0;
};

// A table of the controls and one of the common pool's size classes.
std::string ReportTables(const Workload& workload, const MemoryGraph& graph,
                         const du::MemPoolBlockStatistics& statistics, const Resources& resources);

// The graph of controls in the language of Graphviz, an arrow from each supplier to its consumers.
std::string ReportDot(const MemoryGraph& graph, const Resources& resources);

}  // namespace lmkutil

#endif
