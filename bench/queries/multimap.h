#ifndef LMKUTILS_BENCH_QUERIES_MULTIMAP_H
#define LMKUTILS_BENCH_QUERIES_MULTIMAP_H

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench/queries/records.h"

namespace bench {

// A std::multimap from name and record to value. `Regex` is made of a pattern and gives
// bool Matches(const std::string&), for the whole text; a literal is compared as a text.
template <class Regex>
class Multimap {
 public:
  using Prepared = const Query*;

  void Add(unsigned id, const Record& record) {
    for (std::size_t i = 0; i < record.size(); ++i)
      entries_.emplace(std::pair(kAttributes[i], id), record[i]);
  }
  void EndOfLoading() {
    for (const auto& [key, value] : entries_) all_.push_back(key.second);
    Sort(all_);
  }

  void Replace(const std::vector<unsigned>& ids, const char* name, const std::string& value) {
    for (const unsigned id : ids) {
      const auto [first, last] = entries_.equal_range({name, id});
      first->second = value;
      entries_.erase(std::next(first), last);
    }
  }

  static Prepared Prepare(const Query& query) { return &query; }

  Ids Perform(Prepared query) const {
    Ids result;
    for (const QueryStep& step : query->steps) {
      Ids ids = Select(step.leaf);
      if (step.isNegated) ids = Combine(all_, ids, [](auto... a) { std::set_difference(a...); });
      switch (step.operation) {
        case QueryStep::Operation::kFirst:
          result = std::move(ids);
          break;
        case QueryStep::Operation::kAnd:
          result = Combine(result, ids, [](auto... a) { std::set_intersection(a...); });
          break;
        case QueryStep::Operation::kOr:
          result = Combine(result, ids, [](auto... a) { std::set_union(a...); });
          break;
        case QueryStep::Operation::kXor:
          result = Combine(result, ids, [](auto... a) { std::set_symmetric_difference(a...); });
          break;
      }
    }
    return result;
  }

 private:
  static void Sort(Ids& ids) {
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  }

  template <class Algorithm>
  static Ids Combine(const Ids& a, const Ids& b, Algorithm algorithm) {
    Ids result;
    algorithm(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
  }

  Ids Select(const Leaf& leaf) const {
    switch (leaf.test) {
      case Test::kPresent:
        return SelectIf(leaf.name, [](const std::string&) { return true; });
      case Test::kLiteral:
        return SelectIf(leaf.name, [&](const std::string& value) { return value == leaf.pattern; });
      default:
        return SelectIf(leaf.name, [regex = Regex(leaf.pattern), wanted = leaf.test == Test::kEqual](
                                       const std::string& value) { return regex.Matches(value) == wanted; });
    }
  }

  template <class Condition>
  Ids SelectIf(const char* name, const Condition& condition) const {
    const auto last = entries_.upper_bound({name, std::numeric_limits<unsigned>::max()});
    Ids ids;
    for (auto entry = entries_.lower_bound({name, 0}); entry != last; ++entry) {
      if (condition(entry->second)) ids.push_back(entry->first.second);
    }
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
  }

  std::multimap<std::pair<std::string, unsigned>, std::string> entries_;
  Ids all_;
};

}  // namespace bench

#endif
