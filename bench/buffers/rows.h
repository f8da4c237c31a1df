#ifndef LMKUTILS_BENCH_BUFFERS_ROWS_H
#define LMKUTILS_BENCH_BUFFERS_ROWS_H

#include <cstddef>
#include <string>
#include <vector>

#include "bench/bench.h"

namespace bench {

inline constexpr unsigned kValues = 1'000'000;

// Contender::Writer(bool bigEndian), with
//   void Rewind()                          to the beginning of the block, whose storage is kept
//   void Put(int), void Put(const double*, unsigned)
// Contender::Reader(bool bigEndian, const std::string& block), with
//   void Rewind()
//   void Get(int&), void Get(double*, unsigned)

template <class Contender>
void PutInts(benchmark::State& state, bool bigEndian) {
  typename Contender::Writer writer(bigEndian);
  for (auto _ : state) {
    writer.Rewind();
    for (unsigned i = 0; i < kValues; ++i) writer.Put(static_cast<int>(i));
    benchmark::ClobberMemory();
  }
}

template <class Contender>
void GetInts(benchmark::State& state, bool bigEndian) {
  const std::string block(std::size_t{kValues} * sizeof(int), 'x');
  typename Contender::Reader reader(bigEndian, block);
  for (auto _ : state) {
    reader.Rewind();
    unsigned sum = 0;
    for (unsigned i = 0; i < kValues; ++i) {
      int value = 0;
      reader.Get(value);
      sum += static_cast<unsigned>(value);
    }
    benchmark::DoNotOptimize(sum);
  }
}

template <class Contender>
void PutDoubles(benchmark::State& state, bool bigEndian) {
  const std::vector<double> values(kValues, 1.5);
  typename Contender::Writer writer(bigEndian);
  for (auto _ : state) {
    writer.Rewind();
    writer.Put(values.data(), kValues);
    benchmark::ClobberMemory();
  }
}

template <class Contender>
void GetDoubles(benchmark::State& state, bool bigEndian) {
  const std::string block(std::size_t{kValues} * sizeof(double), 'x');
  std::vector<double> values(kValues);
  typename Contender::Reader reader(bigEndian, block);
  for (auto _ : state) {
    reader.Rewind();
    reader.Get(values.data(), kValues);
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
}

template <class Contender>
void AddBufferRows(const std::string& name) {
  for (const bool big : {false, true}) {
    const std::string order = big ? ", bytes reversed" : "";
    AddSingle("1 million ints put one by one" + order, name,
              [big](benchmark::State& s) { PutInts<Contender>(s, big); });
    AddSingle("1 million ints got one by one" + order, name,
              [big](benchmark::State& s) { GetInts<Contender>(s, big); });
    AddSingle("1 million doubles put as an array" + order, name,
              [big](benchmark::State& s) { PutDoubles<Contender>(s, big); });
    AddSingle("1 million doubles got as an array" + order, name,
              [big](benchmark::State& s) { GetDoubles<Contender>(s, big); });
  }
}

}  // namespace bench

#endif
