#ifndef LMKUTILS_BENCH_TIME_ROWS_H
#define LMKUTILS_BENCH_TIME_ROWS_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/sink.h"

namespace bench {

inline constexpr char kClock[] = "wall clock in milliseconds";
inline constexpr char kTimer[] = "timer: milliseconds since its start";

// Milliseconds since 1970 as a trace sees them (a few milliseconds apart) or anywhere in fifty years.
inline const std::vector<std::int64_t>& Instants(bool successive) {
  static const auto& both = *new std::vector<std::vector<std::int64_t>>([] {
    constexpr std::int64_t kYear = 31'556'952'000;
    std::mt19937_64 random(1);
    std::vector<std::int64_t> apart, close;
    for (int i = 0; i < 4096; ++i) {
      apart.push_back(static_cast<std::int64_t>(random() % (50 * kYear)));
      close.push_back(52 * kYear + 7 * i);
    }
    return std::vector{apart, close};
  }());
  return both[successive ? 1 : 0];
}

// Contender: static void Print(std::ostream&, std::int64_t milliseconds), which writes an instant as
// "9:05:07.042  3 Jan 2020" or in that manner. All write into the same open stream of characters.
template <class Contender>
void PrintInstant(benchmark::State& state, bool successive) {
  const auto& instants = Instants(successive);
  Sink out;
  std::size_t next = 0;
  for (auto _ : state) {
    Contender::Print(out.Rewound(), instants[next]);
    benchmark::DoNotOptimize(out.Data());
    benchmark::ClobberMemory();
    next = (next + 1) % instants.size();
  }
}

template <class Contender>
void AddInstantRows(const char* calendar, const std::string& name) {
  // A zone with daylight saving, by rule, so that the machine needs no zone files and is not asked for its
  // own.
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  const std::string row = std::string("print an instant, ") + calendar;
  AddSingle(row + ", some milliseconds after the last one", name,
            [](benchmark::State& s) { PrintInstant<Contender>(s, true); });
  AddSingle(row + ", anywhere in fifty years", name,
            [](benchmark::State& s) { PrintInstant<Contender>(s, false); });
}

}  // namespace bench

#endif
