#ifndef LMKUTILS_BENCH_TASKS_ROWS_H
#define LMKUTILS_BENCH_TASKS_ROWS_H

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "bench/bench.h"

// The rows of pools of threads, written once for all contenders. A contender gives a class
//
//   class Pool {
//     explicit Pool(unsigned workers);
//     void Insert(void (*work)());  // a task of its own each time
//     void Finish();                // waits until all that was inserted has run; the last call
//   };
//
// Pools are made and destroyed outside of the time.
namespace bench {

inline void DoNothing() {}

inline void WorkForAMicrosecond() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(1);
  while (std::chrono::steady_clock::now() < end) {
  }
}

template <class Pool>
void RunAll(benchmark::State& state, unsigned workers, int tasks, void (*work)()) {
  for (auto _ : state) {
    state.PauseTiming();
    auto pool = std::make_unique<Pool>(workers);
    state.ResumeTiming();
    for (int i = 0; i < tasks; ++i) pool->Insert(work);
    pool->Finish();
    state.PauseTiming();
    pool.reset();
    state.ResumeTiming();
  }
}

inline std::atomic<bool> taskHasRun{false};

inline void TellThatItRan() {
  taskHasRun.store(true, std::memory_order_release);
}

// From the insertion of one task into an empty pool until it runs, `rest` after the one before it.
template <class Pool>
void RunOne(benchmark::State& state, unsigned workers, std::chrono::microseconds rest) {
  Pool pool(workers);
  for (auto _ : state) {
    if (rest.count() != 0) {
      state.PauseTiming();
      std::this_thread::sleep_for(rest);
      state.ResumeTiming();
    }
    taskHasRun.store(false, std::memory_order_relaxed);
    pool.Insert(TellThatItRan);
    while (!taskHasRun.load(std::memory_order_acquire)) {
    }
  }
  pool.Finish();
}

template <class Pool>
void AddTaskRows(const std::string& name) {
  constexpr int kTurns = 2;  // of one measurement; the tasks are many
  for (const unsigned workers : {1U, 2U, 3U, 4U}) {
    const std::string with = ", " + std::to_string(workers) + (workers == 1 ? " worker" : " workers");
    AddWall("1 million empty tasks" + with, name, [=](benchmark::State& state) {
      RunAll<Pool>(state, workers, 1'000'000, DoNothing);
    })->Iterations(kTurns);
    AddWall("100 thousand tasks of a microsecond" + with, name, [=](benchmark::State& state) {
      RunAll<Pool>(state, workers, 100'000, WorkForAMicrosecond);
    })->Iterations(kTurns);
    AddWall("one task, from insertion to run, directly after another" + with, name,
            [=](benchmark::State& state) { RunOne<Pool>(state, workers, std::chrono::microseconds(0)); })
        ->Iterations(20'000);
    AddWall("one task, from insertion to run, a millisecond after another" + with, name,
            [=](benchmark::State& state) { RunOne<Pool>(state, workers, std::chrono::microseconds(1000)); })
        ->Iterations(200);
  }
}

}  // namespace bench

#endif
