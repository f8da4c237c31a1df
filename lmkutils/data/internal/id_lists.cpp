#include "lmkutils/data/internal/id_lists.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace du::internal {
namespace {

// Which ids the result takes: those of the first list alone, of the second alone, of both.
struct Taken {
  bool first;
  bool second;
  bool both;
};

void Append(IdList& list, const unsigned* first, const unsigned* last) {
  list.insert(list.end(), first, last);
}

// One step for each different id, without branches that depend on the ids: which list comes next is as
// unpredictable as can be. `out` has room for all.
template <Taken kTaken>
IdList Combine(const IdList& a, const IdList& b) {
  IdList result(kTaken.second ? a.size() + b.size() : a.size());
  const unsigned* first = a.data();
  const unsigned* second = b.data();
  const unsigned* const firstEnd = first + a.size();
  const unsigned* const secondEnd = second + b.size();
  unsigned* out = result.data();
  while (first != firstEnd && second != secondEnd) {
    const unsigned x = *first;
    const unsigned y = *second;
    *out = x < y ? x : y;
    out += x < y ? kTaken.first : x > y ? kTaken.second : kTaken.both;
    first += x <= y;
    second += y <= x;
  }
  result.resize(static_cast<std::size_t>(out - result.data()));
  if constexpr (kTaken.first) Append(result, first, firstEnd);
  if constexpr (kTaken.second) Append(result, second, secondEnd);
  return result;
}

}  // namespace

IdList Union(const IdList& a, const IdList& b) {
  if (a == b) return a;  // what all records have
  return Combine<Taken{true, true, true}>(a, b);
}

IdList Intersection(const IdList& a, const IdList& b) {
  return a.size() <= b.size() ? Combine<Taken{false, false, true}>(a, b)
                              : Combine<Taken{false, false, true}>(b, a);
}

IdList Difference(const IdList& a, const IdList& b) {
  return Combine<Taken{true, false, false}>(a, b);
}

IdList SymmetricDifference(const IdList& a, const IdList& b) {
  return Combine<Taken{true, true, false}>(a, b);
}

IdList Distinct(std::span<const unsigned> ascending) {
  IdList list(ascending.begin(), ascending.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
  return list;
}

IdList Ascending(const IdList& ids) {
  IdList list(ids);
  if (!std::is_sorted(list.begin(), list.end())) std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
  return list;
}

void ListMerger::Add(IdList list) {
  digits_.push_back({std::move(list), 1});
  while (digits_.size() > 1 && digits_[digits_.size() - 2].lists == digits_.back().lists) MergeLastTwo();
}

IdList ListMerger::Take() {
  while (digits_.size() > 1) MergeLastTwo();
  IdList list;
  if (!digits_.empty()) list.swap(digits_.back().list);
  digits_.clear();
  return list;
}

void ListMerger::MergeLastTwo() {
  Digit& last = digits_.back();
  Digit& before = digits_[digits_.size() - 2];
  before.list = operation_(before.list, last.list);
  before.lists += last.lists;
  digits_.pop_back();
}

}  // namespace du::internal
