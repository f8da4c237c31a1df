#ifndef LMKUTILS_BENCH_LINES_ROWS_H
#define LMKUTILS_BENCH_LINES_ROWS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "bench/bench.h"

namespace bench {

// Whole files of 100 MB, in the system's file cache, with lines of 0 to 120 characters. Each line is handed
// over with its length and without its end.
inline constexpr char kText[] = "100 MB of text: every line";
inline constexpr char kUtf16[] = "100 MB of UTF-16: every line, as UTF-8";

// Made on first use in the temporary folder, and removed at the end of the process.
const std::string& TextFile();   // UTF-8 without a mark
const std::string& Utf16File();  // little-endian with a mark; one character in fifty is not ASCII

// What the lines of a file come to, so that contenders that read something else are found out.
struct Sum {
  std::uint64_t lines = 0;
  std::uint64_t bytes = 0;

  void Add(std::string_view line) {
    ++lines;
    bytes += line.size();
    benchmark::DoNotOptimize(line.data());
  }
  bool operator==(const Sum&) const = default;
};
const Sum& ExpectedText();
const Sum& ExpectedUtf16();

// Contender: static void Read(const std::string& path, Sum& sum), which reads the file to its end.
template <class Contender>
void ReadLines(benchmark::State& state, const std::string& path, const Sum& expected) {
  for (auto _ : state) {
    Sum sum;
    Contender::Read(path, sum);
    if (!(sum == expected)) {
      state.SkipWithError("read other lines");
      break;
    }
  }
}

template <class Contender>
void AddText(const std::string& name) {
  AddSingle(kText, name, [](benchmark::State& s) { ReadLines<Contender>(s, TextFile(), ExpectedText()); });
}
template <class Contender>
void AddUtf16(const std::string& name) {
  AddSingle(kUtf16, name, [](benchmark::State& s) { ReadLines<Contender>(s, Utf16File(), ExpectedUtf16()); });
}

}  // namespace bench

#endif
