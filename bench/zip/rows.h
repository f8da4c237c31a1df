#ifndef LMKUTILS_BENCH_ZIP_ROWS_H
#define LMKUTILS_BENCH_ZIP_ROWS_H

#include <cstddef>
#include <string>

#include "bench/bench.h"

namespace bench {

// Texts and numbers that pack to about a third, deflated at the default level; files lie in the system's file
// cache. Programs of others are judged with the time of their start, so all are by wall time.
inline constexpr char kSmall[] = "2000 files of 4 KB";
inline constexpr char kLarge[] = "4 files of 25 MB";
inline constexpr std::size_t kSmallFiles = 2000;
inline constexpr std::size_t kLargeFiles = 4;

// Folders of such files, and an archive of each; a name for an archive to be made, and an empty folder to
// extract into, which `Emptied` makes anew.
const std::string& Folder(bool small);
const std::string& Archive(bool small);
const std::string& NewArchive();
const std::string& Emptied();

// Contender: static bool Create(const std::string& folder, const std::string& archive),
// static bool List(const std::string& archive, std::size_t count), which reads all names,
// static bool Extract(const std::string& archive, const std::string& folder).
template <class Contender>
void AddRows(const std::string& name) {
  for (const bool small : {true, false}) {
    const std::string files = small ? kSmall : kLarge;
    AddWall(files + " into an archive", name, [small](benchmark::State& state) {
      Archive(small);
      for (auto _ : state) {
        if (!Contender::Create(Folder(small), NewArchive())) state.SkipWithError("cannot create");
      }
    })->Unit(benchmark::kMillisecond);
    AddWall(files + " out of an archive", name, [small](benchmark::State& state) {
      Archive(small);
      for (auto _ : state) {
        state.PauseTiming();
        const std::string& folder = Emptied();
        state.ResumeTiming();
        if (!Contender::Extract(Archive(small), folder)) state.SkipWithError("cannot extract");
      }
    })->Unit(benchmark::kMillisecond);
  }
  AddWall("names of 2000 members", name, [](benchmark::State& state) {
    Archive(true);
    for (auto _ : state) {
      if (!Contender::List(Archive(true), kSmallFiles)) state.SkipWithError("cannot list");
    }
  })->Unit(benchmark::kMillisecond);
}

}  // namespace bench

#endif
