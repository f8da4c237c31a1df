// All entries of a record database.
#ifndef LMKUTILS_DATA_INTERNAL_ATTRIBUTE_LIST_H
#define LMKUTILS_DATA_INTERNAL_ATTRIBUTE_LIST_H

#include <atomic>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lmkutils/data/internal/attribute_column.h"
#include "lmkutils/data/internal/id_lists.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/platform/object_level_lockable.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {

// The list of entries in order of name, id and insertion. It is kept as one column for each name; a change
// that breaks the order leaves it to the next reader to restore it.
//
// Readers (the const operations) may come from any number of threads at once: the first one sorts, under the
// object's lock, and the others wait for it. Who changes the list must be alone. Operations that throw
// std::bad_alloc leave the entries as they were.
class AttributeList : public CommonAllocated, private dp::ObjectLevelLockable<AttributeList*> {
 public:
  using NamedColumn = std::pair<const Symbol, AttributeColumn>;

  Symbol GetDebugClassName() const override;  // "AttributeList"

  void Add(unsigned id, const Symbol& name, const Symbol& value);
  void Add(const IdList& ids, const Symbol& name, const Symbol& value);
  void Replace(const IdList& ids, const Symbol& name, const Symbol& value);
  void Replace(unsigned id, const Symbol& name, const Symbol& value);

  void RemoveAll() noexcept;
  void RemoveName(const Symbol& name) noexcept;
  void Remove(unsigned id);
  void Remove(unsigned id, const Symbol& name);
  void Remove(const IdList& ids);
  void Remove(const IdList& ids, const Symbol& name);

  // In order of their names, each sorted. Valid until the next change.
  std::span<const NamedColumn* const> Columns() const;
  // The sorted column of a name, null when there is none. A name with a NUL has none.
  const AttributeColumn* Find(const std::string& name) const;
  const AttributeColumn* Find(const Symbol& name) const;
  // Where the values of one of the columns stand; null when it is as well to look through them all.
  const ValueIndex* IndexOf(const AttributeColumn& column) const noexcept;
  // All records. Throws std::bad_alloc.
  IdList AllIds() const;

  // Throws std::bad_alloc.
  void Sort() const;
  void ShrinkToFit();
  bool IsConsistent() const;

 private:
  using NameMap = HashMap<Symbol, AttributeColumn>;

  AttributeColumn& ColumnWithRoom(const Symbol& name, std::size_t count);
  void NoteChange(const AttributeColumn& column) noexcept;
  void DropEmptyColumns() noexcept;

  mutable NameMap columns_;
  mutable std::vector<NamedColumn*> order_;  // by name, when isSorted_
  mutable std::atomic<bool> isSorted_{true};
};

}  // namespace du::internal

#endif
