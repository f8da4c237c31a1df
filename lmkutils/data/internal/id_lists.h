// Sets of record ids as ascending lists.
#ifndef LMKUTILS_DATA_INTERNAL_ID_LISTS_H
#define LMKUTILS_DATA_INTERNAL_ID_LISTS_H

#include <cstddef>
#include <span>
#include <vector>

#include "lmkutils/memory/common_allocator.h"

namespace du::internal {

using IdList = std::vector<unsigned, CommonAllocator<unsigned>>;

// Of ascending lists without duplicates, as the results are. Throw std::bad_alloc.
IdList Union(const IdList& a, const IdList& b);
IdList Intersection(const IdList& a, const IdList& b);
IdList Difference(const IdList& a, const IdList& b);
IdList SymmetricDifference(const IdList& a, const IdList& b);

// The different ids of an ascending run, and of any list.
IdList Distinct(std::span<const unsigned> ascending);
IdList Ascending(const IdList& ids);

// Joins many lists by an operation that is associative and commutative, Union or SymmetricDifference. Lists
// are merged with others that came of as many, like the digits of a binary counter, so that each id is copied
// as often as the number of lists has binary digits, and not once for every list behind its own.
class ListMerger {
 public:
  using Operation = IdList (*)(const IdList&, const IdList&);

  explicit ListMerger(Operation operation) noexcept : operation_(operation) {}

  void Add(IdList list);
  // All of them; the merger is empty then.
  IdList Take();

 private:
  struct Digit {
    IdList list;
    std::size_t lists;  // so many were merged into it
  };

  void MergeLastTwo();

  Operation operation_;
  std::vector<Digit> digits_;
};

}  // namespace du::internal

#endif
