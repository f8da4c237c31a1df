// What the standard library offers in place of a symbol, and the floors.
#include <atomic>
#include <memory>
#include <unordered_map>

#include "bench/symbol/rows.h"

namespace bench {
namespace {

// A plain string as the key of a map: its text is hashed and compared at every look-up.
void FindByString(benchmark::State& state, std::size_t length, std::size_t count) {
  static std::mutex& mutex = *new std::mutex;
  static auto& maps =
      *new std::map<std::pair<std::size_t, std::size_t>, std::unordered_map<std::string, int>>;
  const Texts& texts = SomeTexts(length, count);
  std::unordered_map<std::string, int>* map = nullptr;
  {
    const std::lock_guard lock(mutex);
    map = &maps[{length, count}];
    for (std::size_t i = 0; map->size() < count; ++i) map->emplace(texts.texts[i], static_cast<int>(i));
  }
  std::size_t next = Start(state, count);
  for (auto _ : state) {
    benchmark::DoNotOptimize(map->find(texts.visited[next])->second);
    if (++next == count) next = 0;
  }
}

void CopySharedPointer(benchmark::State& state) {
  static const auto& text = *new std::shared_ptr<const std::string>(std::make_shared<std::string>(32, 'x'));
  for (auto _ : state) {
    const auto copy = text;
    benchmark::DoNotOptimize(copy);
  }
}

void TwoAtomicOperations(benchmark::State& state) {
  static std::atomic<unsigned> count{1};
  for (auto _ : state) {
    count.fetch_add(1);
    benchmark::DoNotOptimize(&count);
    count.fetch_sub(1);
  }
}

void TwoLoads(benchmark::State& state) {
  static const auto& pointers = *new std::vector<const void*>(1000, &state);
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pointers[next] == pointers[next + 1]);
    if (++next == 999) next = 0;
  }
}

bool Register() {
  for (const auto& [count, countName] : {kCounts[0], kCounts[1]}) {
    for (const std::size_t length : kLengths) {
      const std::string row =
          "key of " + std::to_string(length) + " bytes found in a map of " + std::string(countName);
      AddBoth(row, "std::unordered_map of std::string",
              [=, c = count](benchmark::State& s) { FindByString(s, length, c); });
    }
  }
  AddBoth("copy and drop", "std::shared_ptr", CopySharedPointer);
  AddBoth("copy and drop", std::string(kFloor) + "two atomic operations", TwoAtomicOperations);
  AddBoth("compare two", std::string(kFloor) + "two loads", TwoLoads);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
