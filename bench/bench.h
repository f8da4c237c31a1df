#ifndef LMKUTILS_BENCH_BENCH_H
#define LMKUTILS_BENCH_BENCH_H

#include <string>

#include <benchmark/benchmark.h>

// A row of the report is one piece of work; its contenders are benchmarks named "ROW/CONTENDER" that do
// that work, each through its own library, in the same loop. report.py runs the contenders of a row in one
// process, in turns, and takes medians. A contender is called kOurs, or by its library's name, or
// kFloor + "what it does" when it is the least that any implementation must do, or kOtherWork + "name" when
// it does not do all of the work: it is shown, and no goal is measured by it.
namespace bench {

inline constexpr char kOurs[] = "lmkutils";
inline constexpr char kFloor[] = "floor: ";
inline constexpr char kOtherWork[] = "other work: ";

// One thread: judged by the CPU time of the thread, which leaves out the machine's other work.
template <class Function>
::benchmark::internal::Benchmark* AddSingle(const std::string& row, const std::string& contender,
                                            Function function) {
  return ::benchmark::RegisterBenchmark((row + "/" + contender).c_str(), function);
}

// Several threads: judged by wall time divided by the operations of all, so that perfect scaling shows as
// half of the time of one thread where there are two.
template <class Function>
::benchmark::internal::Benchmark* AddMany(const std::string& row, const std::string& contender, int threads,
                                          Function function) {
  const std::string name = row + ", " + std::to_string(threads) + " threads/" + contender;
  return ::benchmark::RegisterBenchmark(name.c_str(), function)->Threads(threads)->UseRealTime();
}

template <class Function>
::benchmark::internal::Benchmark* AddPair(const std::string& row, const std::string& contender,
                                          Function function) {
  return AddMany(row, contender, 2, function);
}

// One thread that waits for others: judged by wall time.
template <class Function>
::benchmark::internal::Benchmark* AddWall(const std::string& row, const std::string& contender,
                                          Function function) {
  return ::benchmark::RegisterBenchmark((row + "/" + contender).c_str(), function)->UseRealTime();
}

// Something other than a time, which the function returns: the less the better. report.py runs each contender
// of the row in a process of its own.
template <class Function>
void AddFigure(const std::string& row, const std::string& contender, const std::string& unit,
               Function function) {
  const auto run = [=](::benchmark::State& state) {
    for (auto _ : state) state.counters["figure"] = function();
    state.SetLabel(unit);
  };
  ::benchmark::RegisterBenchmark((row + "/" + contender + "/figure").c_str(), run)->Iterations(1);
}

template <class Function>
void AddBoth(const std::string& row, const std::string& contender, Function function) {
  AddSingle(row, contender, function);
  AddPair(row, contender, function);
}

}  // namespace bench

#endif
