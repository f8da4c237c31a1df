#include "lmkutils/data/internal/attribute_list.h"

#include <algorithm>
#include <functional>
#include <new>
#include <span>

#include "lmkutils/text/internal/lasting_symbol.h"

namespace du::internal {

Symbol AttributeList::GetDebugClassName() const {
  static const LastingSymbol name("AttributeList");
  return name.Get();
}

void AttributeList::Add(unsigned id, const Symbol& name, const Symbol& value) {
  AttributeColumn& column = ColumnWithRoom(name, 1);
  column.Append(id, value);
  NoteChange(column);
}

void AttributeList::Add(const IdList& ids, const Symbol& name, const Symbol& value) {
  if (ids.empty()) return;
  AttributeColumn& column = ColumnWithRoom(name, ids.size());
  for (const unsigned id : ids) column.Append(id, value);
  NoteChange(column);
}

void AttributeList::Replace(unsigned id, const Symbol& name, const Symbol& value) {
  AttributeColumn& column = ColumnWithRoom(name, 1);
  column.Replace(id, value);
  NoteChange(column);
}

void AttributeList::Replace(const IdList& ids, const Symbol& name, const Symbol& value) {
  if (ids.empty()) return;
  const IdList ascending = Ascending(ids);
  AttributeColumn& column = ColumnWithRoom(name, ascending.size());
  column.Sort();
  column.ReplaceAll(ascending, value);
  NoteChange(column);
}

void AttributeList::RemoveAll() noexcept {
  order_.clear();
  columns_.clear();
  isSorted_.store(true, std::memory_order_relaxed);
}

void AttributeList::RemoveName(const Symbol& name) noexcept {
  if (columns_.erase(name) != 0) isSorted_.store(false, std::memory_order_relaxed);
}

void AttributeList::Remove(unsigned id) {
  Sort();
  for (NamedColumn* const column : order_) column->second.Remove(id);
  DropEmptyColumns();
}

void AttributeList::Remove(unsigned id, const Symbol& name) {
  Remove(IdList{id}, name);
}

void AttributeList::Remove(const IdList& ids) {
  const IdList ascending = Ascending(ids);
  Sort();
  for (NamedColumn* const column : order_) column->second.RemoveAll(ascending);
  DropEmptyColumns();
}

void AttributeList::Remove(const IdList& ids, const Symbol& name) {
  const auto found = columns_.find(name);
  if (found == columns_.end()) return;
  AttributeColumn& column = found->second;
  const IdList ascending = Ascending(ids);
  column.Sort();
  if (ascending.size() == 1) {
    column.Remove(ascending.front());
  } else {
    column.RemoveAll(ascending);
  }
  if (column.Size() == 0) RemoveName(name);
}

std::span<const AttributeList::NamedColumn* const> AttributeList::Columns() const {
  Sort();
  return order_;
}

const AttributeColumn* AttributeList::Find(const std::string& name) const {
  Sort();
  const auto found = columns_.find(name);
  return found == columns_.end() ? nullptr : &found->second;
}

const AttributeColumn* AttributeList::Find(const Symbol& name) const {
  Sort();
  const auto found = columns_.find(name);
  return found == columns_.end() ? nullptr : &found->second;
}

const ValueIndex* AttributeList::IndexOf(const AttributeColumn& column) const noexcept {
  if (column.Index() != nullptr || !column.DeservesIndex()) return column.Index();
  const Guard guard(*this);
  try {
    column.MakeIndex();
  } catch (const std::bad_alloc&) {  // it works without
  }
  return column.Index();
}

IdList AttributeList::AllIds() const {
  ListMerger merger(Union);
  std::span<const unsigned> previous;
  for (const NamedColumn* const column : Columns()) {
    const std::span<const unsigned> ids = column->second.Ids();
    // Names that all records have are frequent.
    if (!std::ranges::equal(ids, previous)) merger.Add(Distinct(ids));
    previous = ids;
  }
  return merger.Take();
}

// The lock is held for as long as the sorting takes, which is long for a spin lock: but whoever waits for it
// has nothing to do before the list is sorted, and sleeps after a while.
void AttributeList::Sort() const {
  if (isSorted_.load(std::memory_order_acquire)) return;
  const Guard guard(*this);
  if (isSorted_.load(std::memory_order_relaxed)) return;
  for (NamedColumn& column : columns_) column.second.Sort();
  order_.clear();
  order_.reserve(columns_.size());
  for (NamedColumn& column : columns_) order_.push_back(&column);
  std::sort(order_.begin(), order_.end(), [](const NamedColumn* a, const NamedColumn* b) {
    return std::less<Symbol>()(a->first, b->first);
  });
  isSorted_.store(true, std::memory_order_release);
}

void AttributeList::ShrinkToFit() {
  for (NamedColumn& column : columns_) column.second.ShrinkToFit();
  order_.shrink_to_fit();
}

bool AttributeList::IsConsistent() const {
  const Guard guard(*this);
  const auto isSane = [](const NamedColumn& column) { return column.second.IsConsistent(); };
  if (!std::all_of(columns_.begin(), columns_.end(), isSane)) return false;
  if (!isSorted_.load(std::memory_order_relaxed)) return true;
  const auto isSorted = [this](const NamedColumn* column) {
    const auto found = columns_.find(column->first);
    return found != columns_.end() && &*found == column && column->second.IsSorted();
  };
  const auto isOutOfOrder = [](const NamedColumn* a, const NamedColumn* b) {
    return !std::less<Symbol>()(a->first, b->first);
  };
  return order_.size() == columns_.size() && std::all_of(order_.begin(), order_.end(), isSorted) &&
         std::adjacent_find(order_.begin(), order_.end(), isOutOfOrder) == order_.end();
}

// When there is no memory, a column without entries may be left behind: nobody sees it.
AttributeColumn& AttributeList::ColumnWithRoom(const Symbol& name, std::size_t count) {
  const auto [found, isNew] = columns_.try_emplace(name);
  if (isNew) isSorted_.store(false, std::memory_order_relaxed);
  found->second.ReserveMore(count);
  return found->second;
}

void AttributeList::NoteChange(const AttributeColumn& column) noexcept {
  if (!column.IsSorted()) isSorted_.store(false, std::memory_order_relaxed);
}

void AttributeList::DropEmptyColumns() noexcept {
  for (auto column = columns_.begin(); column != columns_.end();) {
    if (column->second.Size() != 0) {
      ++column;
    } else {
      column = columns_.erase(column);
      isSorted_.store(false, std::memory_order_relaxed);
    }
  }
}

}  // namespace du::internal
