#ifndef LMKUTILS_BENCH_BENCH_H
#define LMKUTILS_BENCH_BENCH_H

#include <string>

#include <benchmark/benchmark.h>

// A row of the report is one piece of work; its contenders are benchmarks named "ROW/CONTENDER" that do
// that work, each through its own library, in the same loop. report.py runs the contenders of a row in one
// process, in turns, and takes medians. A contender is called kOurs, or by its library's name, or
// kFloor + "what it does" when it is the least that any implementation must do.
namespace bench {

inline constexpr char kOurs[] = "lmkutils";
inline constexpr char kFloor[] = "floor: ";

// One thread: judged by the CPU time of the thread, which leaves out the machine's other work.
template <class Function>
::benchmark::internal::Benchmark* AddSingle(const std::string& row, const std::string& contender,
                                            Function function) {
  return ::benchmark::RegisterBenchmark((row + "/" + contender).c_str(), function);
}

// Two threads: judged by wall time divided by the operations of both, so that perfect scaling shows as
// half of the time of one thread.
template <class Function>
::benchmark::internal::Benchmark* AddPair(const std::string& row, const std::string& contender,
                                          Function function) {
  return ::benchmark::RegisterBenchmark((row + ", 2 threads/" + contender).c_str(), function)
      ->Threads(2)
      ->UseRealTime();
}

// One thread that waits for others: judged by wall time.
template <class Function>
::benchmark::internal::Benchmark* AddWall(const std::string& row, const std::string& contender,
                                          Function function) {
  return ::benchmark::RegisterBenchmark((row + "/" + contender).c_str(), function)->UseRealTime();
}

template <class Function>
void AddBoth(const std::string& row, const std::string& contender, Function function) {
  AddSingle(row, contender, function);
  AddPair(row, contender, function);
}

}  // namespace bench

#endif
