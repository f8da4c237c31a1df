#ifndef LMKUTILS_BENCH_SECTIONS_ROWS_H
#define LMKUTILS_BENCH_SECTIONS_ROWS_H

#include <string>

#include "bench/bench.h"

namespace bench {

// 50 MB of numbers and text, as files of ours hold them, which pack to about a third. All work with buffers
// of 64 KiB for plain data; files lie in the system's file cache.
inline constexpr char kPackDefault[] = "50 MB into a section, default level";
inline constexpr char kPackBest[] = "50 MB into a section, best level";
inline constexpr char kUnpack[] = "50 MB out of a section";
inline constexpr std::size_t kBufferSize = 65536;

const std::string& Plain();
const std::string& PackedFile();  // by gzip's default level, made on first use
const std::string& OutputFile();

// Contender: static bool Pack(const std::string& plain, const std::string& path, bool best),
// static bool Unpack(const std::string& path, std::string& plain), where `plain` has the right size.
template <class Contender>
void Pack(benchmark::State& state, bool best) {
  for (auto _ : state) {
    if (!Contender::Pack(Plain(), OutputFile(), best)) state.SkipWithError("cannot pack");
  }
}

template <class Contender>
void Unpack(benchmark::State& state) {
  static std::string plain(Plain().size(), '\0');
  for (auto _ : state) {
    if (!Contender::Unpack(PackedFile(), plain)) state.SkipWithError("cannot unpack");
  }
  if (plain != Plain()) state.SkipWithError("unpacked something else");
}

template <class Contender>
void AddRows(const std::string& name) {
  AddSingle(kPackDefault, name, [](benchmark::State& s) {
    Pack<Contender>(s, false);
  })->Unit(benchmark::kMillisecond);
  AddSingle(kPackBest, name, [](benchmark::State& s) {
    Pack<Contender>(s, true);
  })->Unit(benchmark::kMillisecond);
  AddSingle(kUnpack, name, Unpack<Contender>)->Unit(benchmark::kMillisecond);
}

}  // namespace bench

#endif
