// The entries of one attribute name.
#ifndef LMKUTILS_DATA_INTERNAL_ATTRIBUTE_COLUMN_H
#define LMKUTILS_DATA_INTERNAL_ATTRIBUTE_COLUMN_H

#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

#include "lmkutils/data/internal/id_lists.h"
#include "lmkutils/data/internal/value_index.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {

// Record ids and values side by side in two arrays, so that an entry takes 12 bytes on 64-bit targets and 8
// on 32-bit ones, and a query that needs one of the two reads only that one. In order of the ids, and of
// insertion among equal ones, but for a tail of later additions which Sort brings in.
//
// May be read by many threads or changed by one.
class AttributeColumn {
 public:
  // Positions of entries: [first, last).
  struct Range {
    std::size_t first = 0;
    std::size_t last = 0;
    std::size_t Size() const noexcept { return last - first; }
  };

  AttributeColumn() = default;
  ~AttributeColumn() { DropIndex(); }
  AttributeColumn(const AttributeColumn&) = delete;
  AttributeColumn& operator=(const AttributeColumn&) = delete;

  std::size_t Size() const noexcept { return ids_.size(); }
  std::span<const unsigned> Ids() const noexcept { return ids_; }
  std::span<const Symbol> Values() const noexcept { return values_; }
  bool IsSorted() const noexcept { return sorted_ == ids_.size(); }

  // Where its values stand; null when nobody made that since the last change. Any number of threads.
  const ValueIndex* Index() const noexcept { return index_.load(std::memory_order_acquire); }
  // Whether a look-up without an index is one too many: making one costs as much as a few of them. Any number
  // of threads.
  bool DeservesIndex() const noexcept;
  // Of threads that may read the column, one at a time. Throws std::bad_alloc.
  void MakeIndex() const;

  // Makes room for so many more entries. Throws std::bad_alloc and leaves the column as it was then.
  void ReserveMore(std::size_t count);
  // There must be room.
  void Append(unsigned id, const Symbol& value) noexcept;

  // The record's entries become this one, whose value is no reference into the column. Throws std::bad_alloc
  // and leaves the column as it was then.
  void Replace(unsigned id, const Symbol& value);
  // The same for all records of an ascending list, in a sorted column with room for so many.
  void ReplaceAll(const IdList& ids, const Symbol& value) noexcept;

  // Throws std::bad_alloc and leaves the column as it was then.
  void Sort();

  // The entries of a record, of a sorted column.
  Range Find(unsigned id) const noexcept;
  // Removes the record's entries, or those of all the records of an ascending list, from a sorted column.
  void Remove(unsigned id) noexcept;
  void RemoveAll(const IdList& ids) noexcept;

  void ShrinkToFit();
  bool IsConsistent() const;

 private:
  void DropIndex() noexcept;
  void Move(std::size_t from, std::size_t to) noexcept;
  void Erase(Range range) noexcept;
  void MergeTail(std::vector<std::size_t>& order);

  std::vector<unsigned, CommonAllocator<unsigned>> ids_;
  std::vector<Symbol, CommonAllocator<Symbol>> values_;
  std::size_t sorted_ = 0;  // so many entries at the beginning are in order
  mutable std::atomic<const ValueIndex*> index_{nullptr};
  mutable std::atomic<unsigned> lookUps_{0};  // without an index
};

}  // namespace du::internal

#endif
