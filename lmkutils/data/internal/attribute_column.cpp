#include "lmkutils/data/internal/attribute_column.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace du::internal {
namespace {

// Replacing looks for a record in the unsorted tail one by one; a longer tail is sorted first.
constexpr std::size_t kLongestSearchedTail = 1024;

constexpr std::size_t kFirstRoom = 4;

// A shorter column is looked through before an index would have been asked.
constexpr std::size_t kShortestIndexed = 1024;
constexpr unsigned kLookUpsBeforeIndex = 4;

template <class Vector>
void MakeRoom(Vector& vector, std::size_t count) {
  if (vector.capacity() - vector.size() >= count) return;
  vector.reserve(std::max({vector.size() + count, vector.size() + vector.size() / 2, kFirstRoom}));
}

template <class Vector>
auto At(Vector& vector, std::size_t position) {
  return vector.begin() + static_cast<std::ptrdiff_t>(position);
}

}  // namespace

bool AttributeColumn::DeservesIndex() const noexcept {
  return Size() >= kShortestIndexed &&
         lookUps_.fetch_add(1, std::memory_order_relaxed) >= kLookUpsBeforeIndex;
}

void AttributeColumn::MakeIndex() const {
  if (Index() == nullptr) index_.store(new ValueIndex(values_), std::memory_order_release);
}

void AttributeColumn::DropIndex() noexcept {
  if (Index() == nullptr) return;
  delete index_.exchange(nullptr, std::memory_order_relaxed);
  lookUps_.store(0, std::memory_order_relaxed);
}

// By halves, so that not more than 18 bytes are held for an entry of 12.
void AttributeColumn::ReserveMore(std::size_t count) {
  MakeRoom(ids_, count);
  MakeRoom(values_, count);
}

void AttributeColumn::Append(unsigned id, const Symbol& value) noexcept {
  DropIndex();
  const bool keepsOrder = IsSorted() && (ids_.empty() || ids_.back() <= id);
  ids_.push_back(id);
  values_.push_back(value);
  if (keepsOrder) ++sorted_;
}

void AttributeColumn::Replace(unsigned id, const Symbol& value) {
  if (ids_.size() - sorted_ > kLongestSearchedTail) Sort();
  ReserveMore(1);
  DropIndex();
  bool isReplaced = false;
  const Range found = Find(id);
  if (found.Size() != 0) {
    values_[found.first] = value;
    isReplaced = true;
    Erase({found.first + 1, found.last});
  }
  for (std::size_t i = sorted_; i < ids_.size();) {
    if (ids_[i] != id) {
      ++i;
    } else if (!isReplaced) {
      values_[i++] = value;
      isReplaced = true;
    } else {
      Erase({i, i + 1});
    }
  }
  if (!isReplaced) Append(id, value);
}

void AttributeColumn::ReplaceAll(const IdList& ids, const Symbol& value) noexcept {
  DropIndex();
  std::size_t to = 0;
  auto next = ids.begin();
  for (std::size_t i = 0; i < ids_.size(); ++i) {
    while (next != ids.end() && *next < ids_[i]) ++next;
    const bool isListed = next != ids.end() && *next == ids_[i];
    if (isListed && to != 0 && ids_[to - 1] == ids_[i]) continue;
    Move(i, to);
    if (isListed) values_[to] = value;
    ++to;
  }
  Erase({to, ids_.size()});
  for (const unsigned id : ids) {
    if (!std::binary_search(ids_.begin(), At(ids_, to), id)) Append(id, value);
  }
}

// The tail in order, then both parts merged from behind, which ends where the tail is used up.
void AttributeColumn::Sort() {
  if (IsSorted()) return;
  std::vector<std::size_t> order(ids_.size() - sorted_);
  std::iota(order.begin(), order.end(), sorted_);
  std::stable_sort(order.begin(), order.end(),
                   [this](std::size_t a, std::size_t b) { return ids_[a] < ids_[b]; });
  MergeTail(order);
}

void AttributeColumn::MergeTail(std::vector<std::size_t>& order) {
  DropIndex();
  std::vector<unsigned, CommonAllocator<unsigned>> tailIds;
  std::vector<Symbol, CommonAllocator<Symbol>> tailValues;
  tailIds.reserve(order.size());
  tailValues.reserve(order.size());
  for (const std::size_t position : order) {
    tailIds.push_back(ids_[position]);
    tailValues.push_back(std::move(values_[position]));
  }
  std::size_t body = sorted_;
  std::size_t to = ids_.size();
  for (std::size_t tail = tailIds.size(); tail > 0;) {
    --to;
    if (body > 0 && ids_[body - 1] > tailIds[tail - 1]) {
      --body;
      ids_[to] = ids_[body];
      values_[to] = std::move(values_[body]);
    } else {
      --tail;
      ids_[to] = tailIds[tail];
      values_[to] = std::move(tailValues[tail]);
    }
  }
  sorted_ = ids_.size();
}

AttributeColumn::Range AttributeColumn::Find(unsigned id) const noexcept {
  const auto begin = ids_.begin();
  const auto [first, last] = std::equal_range(begin, At(ids_, sorted_), id);
  return {static_cast<std::size_t>(first - begin), static_cast<std::size_t>(last - begin)};
}

void AttributeColumn::Remove(unsigned id) noexcept {
  Erase(Find(id));
}

void AttributeColumn::RemoveAll(const IdList& ids) noexcept {
  DropIndex();
  std::size_t kept = 0;
  auto next = ids.begin();
  for (std::size_t i = 0; i < ids_.size(); ++i) {
    while (next != ids.end() && *next < ids_[i]) ++next;
    if (next != ids.end() && *next == ids_[i]) continue;
    Move(i, kept++);
  }
  Erase({kept, ids_.size()});
}

void AttributeColumn::Move(std::size_t from, std::size_t to) noexcept {
  if (from == to) return;
  ids_[to] = ids_[from];
  values_[to] = std::move(values_[from]);
}

void AttributeColumn::Erase(Range range) noexcept {
  if (range.Size() == 0) return;
  DropIndex();
  ids_.erase(At(ids_, range.first), At(ids_, range.last));
  values_.erase(At(values_, range.first), At(values_, range.last));
  if (range.first < sorted_) sorted_ -= range.Size();
}

void AttributeColumn::ShrinkToFit() {
  ids_.shrink_to_fit();
  values_.shrink_to_fit();
}

bool AttributeColumn::IsConsistent() const {
  return ids_.size() == values_.size() && sorted_ <= ids_.size() &&
         std::is_sorted(ids_.begin(), At(ids_, sorted_)) &&
         (Index() == nullptr || Index()->IsConsistent(values_));
}

}  // namespace du::internal
