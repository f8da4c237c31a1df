#ifndef LMKUTILS_BENCH_QUERIES_ROWS_H
#define LMKUTILS_BENCH_QUERIES_ROWS_H

#include <cstddef>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/queries/records.h"

// The rows of record databases. A contender is a class that is made empty and gives
//   void Add(unsigned id, const Record&), void EndOfLoading()
//   void Replace(const std::vector<unsigned>& ids, const char* name, const std::string& value)
//   Prepared Prepare(const Query&), Ids Perform(Prepared&)      the ids ascending, each once
// Prepare translates the query into the contender's language; everything else is part of the work, since
// queries come as texts.
namespace bench {

// The loaded database; kept to the end of the process.
template <class Contender>
Contender& Loaded(std::size_t count) {
  static auto& all = *new std::map<std::size_t, std::unique_ptr<Contender>>;
  auto& loaded = all[count];
  if (!loaded) {
    loaded = std::make_unique<Contender>();
    const std::vector<Record>& records = SomeRecords(count);
    for (std::size_t i = 0; i < count; ++i) loaded->Add(static_cast<unsigned>(i), records[i]);
    loaded->EndOfLoading();
  }
  return *loaded;
}

// All contenders must find the same: whether the ids are those that were found first.
inline bool Agrees(const std::string& row, const Ids& ids) {
  static auto& found = *new std::map<std::string, Ids>;
  return found.try_emplace(row, ids).first->second == ids;
}

template <class Contender>
void PerformQuery(benchmark::State& state, const Query& query, std::size_t count) {
  Contender& contender = Loaded<Contender>(count);
  auto prepared = contender.Prepare(query);
  const auto ids = contender.Perform(prepared);
  if (!Agrees(query.row + std::to_string(count), Ids(ids.begin(), ids.end()))) {
    return state.SkipWithError("another result");
  }
  for (auto _ : state) benchmark::DoNotOptimize(contender.Perform(prepared));
}

template <class Contender>
void Load(benchmark::State& state, std::size_t count) {
  const std::vector<Record>& records = SomeRecords(count);
  for (auto _ : state) {
    auto contender = std::make_unique<Contender>();
    for (std::size_t i = 0; i < count; ++i) contender->Add(static_cast<unsigned>(i), records[i]);
    contender->EndOfLoading();
    state.PauseTiming();
    contender.reset();
    state.ResumeTiming();
  }
}

// Another value for 1000 records here and there.
template <class Contender>
void Replace(benchmark::State& state, std::size_t count) {
  Contender& contender = Loaded<Contender>(count);
  std::mt19937_64 random(7);
  std::vector<unsigned> ids(1000);
  for (unsigned& id : ids) id = static_cast<unsigned>(random() % count);
  unsigned value = 0;
  for (auto _ : state) contender.Replace(ids, "kind", "kind " + std::to_string(++value % 16));
}

template <class Contender>
void AddQueryRows(const std::string& name) {
  for (const auto& [count, countName] : kRecordCounts) {
    for (const Query& query : Queries()) {
      AddSingle(std::string(query.row) + ", of " + countName, name,
                [&query, c = count](benchmark::State& s) { PerformQuery<Contender>(s, query, c); });
    }
  }
}

template <class Contender>
void AddChangeRows(const std::string& name) {
  for (const auto& [count, countName] : kRecordCounts) {
    AddSingle(std::string("load ") + countName, name,
              [c = count](benchmark::State& s) { Load<Contender>(s, c); });
    AddSingle(std::string("replace 1 thousand, of ") + countName, name,
              [c = count](benchmark::State& s) { Replace<Contender>(s, c); });
  }
}

}  // namespace bench

#endif
