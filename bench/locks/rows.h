#ifndef LMKUTILS_BENCH_LOCKS_ROWS_H
#define LMKUTILS_BENCH_LOCKS_ROWS_H

#include <cstdint>
#include <string>

#include "bench/bench.h"

// The rows of locks, written once for all contenders. A contender of the lock rows gives a
// default-constructible class with Lock and Unlock; of the thread rows a class whose constructor starts a
// thread with an empty body and whose Join waits for its end; of the value rows a class with a static Get.
namespace bench {

template <class Lock>
void UncontendedPair(benchmark::State& state) {
  Lock lock;
  std::uint64_t guarded = 0;
  for (auto _ : state) {
    lock.Lock();
    benchmark::DoNotOptimize(++guarded);
    lock.Unlock();
  }
}

// The guarded number stands on its own line of the cache: what is measured is the lock.
template <class Lock>
void ContendedPair(benchmark::State& state) {
  struct alignas(128) Number {
    std::uint64_t value = 0;
  };
  static Lock& lock = *new Lock;
  static Number& guarded = *new Number;
  for (auto _ : state) {
    lock.Lock();
    benchmark::DoNotOptimize(++guarded.value);
    lock.Unlock();
  }
}

// The pair of a thread that holds the lock already.
template <class Lock>
void NestedPair(benchmark::State& state) {
  Lock lock;
  lock.Lock();
  for (auto _ : state) {
    lock.Lock();
    benchmark::DoNotOptimize(&lock);
    lock.Unlock();
  }
  lock.Unlock();
}

// `what` begins with the name of the kind of lock: "spin lock: lock and unlock".
template <class Lock>
void AddLockRows(const std::string& what, const std::string& name) {
  AddSingle(what, name, UncontendedPair<Lock>);
  AddPair(what, name, ContendedPair<Lock>);
}

template <class Lock>
void AddNestedRow(const std::string& what, const std::string& name) {
  AddSingle(what, name, NestedPair<Lock>);
}

template <class Thread>
void StartAndJoin(benchmark::State& state) {
  for (auto _ : state) {
    Thread thread;
    thread.Join();
  }
}

template <class Value>
void GetValue(benchmark::State& state) {
  Value::Prepare();
  for (auto _ : state) benchmark::DoNotOptimize(Value::Get());
}

inline constexpr char kSpin[] = "spin lock: lock and unlock";
inline constexpr char kRecursive[] = "recursive lock: lock and unlock";
inline constexpr char kRecursiveNested[] = "recursive lock: lock and unlock while held";
inline constexpr char kWaitLock[] = "wait lock: lock and unlock";
inline constexpr char kRead[] = "read-write lock: read lock and unlock";
inline constexpr char kReadNested[] = "read-write lock: read lock and unlock while read";
inline constexpr char kWrite[] = "read-write lock: write lock and unlock";
inline constexpr char kSemaphore[] = "semaphore: wait and signal";
inline constexpr char kThread[] = "thread: start and wait for its end";
inline constexpr char kValue[] = "thread-local value: get";

}  // namespace bench

#endif
