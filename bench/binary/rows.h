#ifndef LMKUTILS_BENCH_BINARY_ROWS_H
#define LMKUTILS_BENCH_BINARY_ROWS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/bench.h"

namespace bench {

// A file of 100 MB in the system's file cache, written and read as ints or as doubles, in the byte order of
// the system or in the other one.
inline constexpr std::size_t kFileSize = 100'000'000;
inline constexpr std::size_t kBufferSize = 65536;

// Of the type T; the same for all contenders.
template <class T>
const std::vector<T>& Values();
// The file of these values, made on first use; another one to write to. Both removed at the end of the
// process.
template <class T>
const std::string& FileOf(bool swapped);
const std::string& OutputFile();

// What the values of a file come to, so that contenders that read something else are found out.
inline std::uint64_t Bits(int value) {
  return static_cast<std::uint32_t>(value);
}
inline std::uint64_t Bits(double value) {
  return std::bit_cast<std::uint64_t>(value);
}
template <class T>
std::uint64_t ExpectedSum() {
  static const std::uint64_t sum = [] {
    std::uint64_t total = 0;
    for (const T value : Values<T>()) total += Bits(value);
    return total;
  }();
  return sum;
}

// Contender::Input: a constructor (path, swapped), bool Read(T&), bool Read(T*, std::size_t).
// Contender::Output: the same with Write(T), Write(const T*, std::size_t), and bool Close().
template <class Contender, class T>
void ReadSingles(benchmark::State& state, bool swapped) {
  const std::string& path = FileOf<T>(swapped);
  for (auto _ : state) {
    typename Contender::Input in(path, swapped);
    std::uint64_t sum = 0;
    T value{};
    while (in.Read(value)) sum += Bits(value);
    if (sum != ExpectedSum<T>()) state.SkipWithError("read other values");
  }
}

template <class Contender, class T>
void ReadArray(benchmark::State& state, bool swapped) {
  const std::string& path = FileOf<T>(swapped);
  static std::vector<T> values(Values<T>().size());
  for (auto _ : state) {
    typename Contender::Input in(path, swapped);
    if (!in.Read(values.data(), values.size())) state.SkipWithError("read too little");
    benchmark::ClobberMemory();
  }
  if (values != Values<T>()) state.SkipWithError("read other values");
}

template <class Contender, class T>
void WriteSingles(benchmark::State& state, bool swapped) {
  const std::vector<T>& values = Values<T>();
  for (auto _ : state) {
    typename Contender::Output out(OutputFile(), swapped);
    for (const T& value : values) out.Write(value);
    if (!out.Close()) state.SkipWithError("cannot write");
  }
}

template <class Contender, class T>
void WriteArray(benchmark::State& state, bool swapped) {
  const std::vector<T>& values = Values<T>();
  for (auto _ : state) {
    typename Contender::Output out(OutputFile(), swapped);
    if (!out.Write(values.data(), values.size()) || !out.Close()) state.SkipWithError("cannot write");
  }
}

inline std::string RowName(const char* type, const char* work, bool swapped) {
  return std::string("100 MB of ") + type + (swapped ? ", swapped: " : ": ") + work;
}

template <class Contender, class T>
void AddRowsOf(const char* type, const std::string& name) {
  for (const bool swapped : {false, true}) {
    const auto add = [&](const char* work, auto function) {
      AddSingle(RowName(type, work, swapped), name, [=](benchmark::State& s) {
        function(s, swapped);
      })->Unit(benchmark::kMillisecond);
    };
    add("read one by one", ReadSingles<Contender, T>);
    add("read as an array", ReadArray<Contender, T>);
    add("written one by one", WriteSingles<Contender, T>);
    add("written as an array", WriteArray<Contender, T>);
  }
}

template <class Contender>
void AddRows(const std::string& name) {
  AddRowsOf<Contender, int>("ints", name);
  AddRowsOf<Contender, double>("doubles", name);
}

}  // namespace bench

#endif
