#ifndef LMKUTILS_BENCH_SYMBOL_ROWS_H
#define LMKUTILS_BENCH_SYMBOL_ROWS_H

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "bench/bench.h"
#include "bench/symbol/texts.h"

// The rows of interned texts, written once for all contenders. A contender gives
//   Handle                            what a program holds of an interned text: copyable, released when
//   destroyed static Handle Make(const std::string&) static bool Same(const Handle&, const Handle&) Map from
//   handle to int static void Put(Map&, const Handle&, int), static int Find(const Map&, const Handle&)
namespace bench {

// The handles to all texts, in the order in which they are visited. Kept to the end of the process.
template <class Contender>
const std::vector<typename Contender::Handle>& Held(std::size_t length, std::size_t count) {
  using Handles = std::vector<typename Contender::Handle>;
  static std::mutex& mutex = *new std::mutex;
  static auto& all = *new std::map<std::pair<std::size_t, std::size_t>, std::unique_ptr<Handles>>;
  const Texts& texts = SomeTexts(length, count);
  const std::lock_guard lock(mutex);
  auto& handles = all[{length, count}];
  if (!handles) {
    Handles made;
    made.reserve(count);
    for (const std::string& text : texts.texts) made.push_back(Contender::Make(text));
    handles = std::make_unique<Handles>();
    handles->reserve(count);
    for (const auto i : texts.order) handles->push_back(made[i]);
  }
  return *handles;
}

// Where a thread begins its walk over `count` things, so that two threads do not march in step.
inline std::size_t Start(const benchmark::State& state, std::size_t count) {
  return static_cast<std::size_t>(state.thread_index()) * (count / 2);
}

template <class Contender>
void ExistingText(benchmark::State& state, std::size_t length, std::size_t count) {
  benchmark::DoNotOptimize(Held<Contender>(length, count).data());
  const Texts& texts = SomeTexts(length, count);
  std::size_t next = Start(state, count);
  for (auto _ : state) {
    const auto handle = Contender::Make(texts.visited[next]);
    benchmark::DoNotOptimize(handle);
    if (++next == count) next = 0;
  }
}

// Every text is interned for the first time and given up at once, in a table that holds 1 thousand others.
template <class Contender>
void NewText(benchmark::State& state, std::size_t length) {
  benchmark::DoNotOptimize(Held<Contender>(length, 1000).data());
  // Every run of the loop goes on where the last one ended: one source for each thread.
  static auto& sources = *new std::map<std::pair<std::size_t, int>, FreshTexts>;
  static std::mutex& mutex = *new std::mutex;
  FreshTexts* source = nullptr;
  {
    const std::lock_guard lock(mutex);
    const int thread = state.thread_index();
    source = &sources.try_emplace({length, thread}, length, static_cast<unsigned>(thread)).first->second;
  }
  for (auto _ : state) {
    const auto handle = Contender::Make(source->Next());
    benchmark::DoNotOptimize(handle);
  }
}

// All threads copy the same handle, as happens to the few names that everybody uses.
template <class Contender>
void CopyAndDrop(benchmark::State& state) {
  const auto& handle = Held<Contender>(32, 1000)[0];
  for (auto _ : state) {
    const auto copy = handle;
    benchmark::DoNotOptimize(copy);
  }
}

template <class Contender>
void Compare(benchmark::State& state) {
  const auto& handles = Held<Contender>(32, 1000);
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Contender::Same(handles[next], handles[next + 1]));
    if (++next == 999) next = 0;
  }
}

template <class Contender>
void FindByHandle(benchmark::State& state, std::size_t length, std::size_t count) {
  using Map = typename Contender::Map;
  static std::mutex& mutex = *new std::mutex;
  static auto& maps = *new std::map<std::pair<std::size_t, std::size_t>, std::unique_ptr<Map>>;
  const auto& handles = Held<Contender>(length, count);
  Map* map = nullptr;
  {
    const std::lock_guard lock(mutex);
    auto& made = maps[{length, count}];
    if (!made) {
      made = std::make_unique<Map>();
      // Entered in another order than they are looked up in.
      for (std::size_t i = 0; i < count; ++i) {
        const std::size_t k = (i * 7919) % count;
        Contender::Put(*made, handles[k], static_cast<int>(k));
      }
    }
    map = made.get();
  }
  std::size_t next = Start(state, count);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Contender::Find(*map, handles[next]));
    if (++next == count) next = 0;
  }
}

template <class Contender>
void AddSymbolRows(const std::string& name) {
  for (const auto& [count, countName] : kCounts) {
    for (const std::size_t length : kLengths) {
      const std::string row =
          "existing text of " + std::to_string(length) + " bytes out of " + std::string(countName);
      const auto run = [=, c = count](benchmark::State& s) { ExistingText<Contender>(s, length, c); };
      // A shorter turn does not come to all of the million texts, and is over before the processor has got
      // used to this contender after the one that had the turn before.
      constexpr double kSeconds = 0.5;
      AddSingle(row, name, run)->MinTime(kSeconds);
      AddPair(row, name, run)->MinTime(kSeconds);
    }
  }
  for (const std::size_t length : kLengths) {
    AddBoth("new text of " + std::to_string(length) + " bytes and dropped again", name,
            [=](benchmark::State& s) { NewText<Contender>(s, length); });
  }
  AddBoth("copy and drop", name, CopyAndDrop<Contender>);
  AddBoth("compare two", name, Compare<Contender>);
  for (const auto& [count, countName] : {kCounts[0], kCounts[1]}) {
    for (const std::size_t length : kLengths) {
      const std::string row =
          "key of " + std::to_string(length) + " bytes found in a map of " + std::string(countName);
      AddBoth(row, name, [=, c = count](benchmark::State& s) { FindByHandle<Contender>(s, length, c); });
    }
  }
}

}  // namespace bench

#endif
