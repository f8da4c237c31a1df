#ifndef LMKUTILS_BENCH_CATALOGUE_ROWS_H
#define LMKUTILS_BENCH_CATALOGUE_ROWS_H

#include <cstdlib>
#include <string>

#include "bench/bench.h"

// The row of catalogues: programs that note of each file in a folder its path, size, time and a checksum of
// its bytes, all of which lie in the system's cache, and write that to a file.
namespace bench {

inline constexpr char kCatalogue[] = "50 thousand files: names, sizes, times, checksums";

// A folder of 50 thousand files of 0 to 8 KiB, 100 in a folder each, that goes with the process.
const std::string& ManyFiles();
// Where the programs write to.
std::string ResultFile();

// `command` is for the shell.
inline void AddCatalogueRow(const std::string& name, std::string (*command)()) {
  AddWall(kCatalogue, name, [command](benchmark::State& state) {
    const std::string line = command();
    for (auto _ : state)
      if (std::system(line.c_str()) != 0) state.SkipWithError("the program failed");
  })->Iterations(1);
}

}  // namespace bench

#endif
