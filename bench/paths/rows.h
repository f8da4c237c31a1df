#ifndef LMKUTILS_BENCH_PATHS_ROWS_H
#define LMKUTILS_BENCH_PATHS_ROWS_H

#include <cstddef>
#include <cstdlib>
#include <string>

#include "bench/bench.h"

namespace bench {

// Paths as applications have them: three or four directories and a file name with an extension.
inline constexpr char kParse[] = "path of 5 parts: parse, rebuild";
inline constexpr char kNormalise[] = "path of 8 parts: remove . and ..";
inline constexpr char kRelative[] = "path of 5 parts: as seen from another";
inline constexpr char kWalk[] = "tree of 50 thousand files: visit all";

inline const std::string kPath = "/srv/data/projects/gearbox/shaft.prt";
inline const std::string kDotted = "/srv/data/./projects/../archive/gearbox/old/../shaft.prt";
inline const std::string kBase = "/srv/data/archive/gearbox";

inline constexpr std::size_t kFilesOfTree = 50000;
// Made on first use in the temporary folder: directories of 100 files, ten in each. Removed at the end of the
// process.
const std::string& Tree();

// Contender: static std::size_t Visit(const std::string& folder), how many files lie in and below it.
template <class Contender>
void Walk(benchmark::State& state) {
  const std::string& tree = Tree();
  for (auto _ : state) {
    if (Contender::Visit(tree) != kFilesOfTree) std::abort();
  }
}

}  // namespace bench

#endif
