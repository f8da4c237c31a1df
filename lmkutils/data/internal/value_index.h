// Where in a column a value stands.
#ifndef LMKUTILS_DATA_INTERNAL_VALUE_INDEX_H
#define LMKUTILS_DATA_INTERNAL_VALUE_INDEX_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {

// The positions of all values by their text pointers, which are different when the texts are: a hash table
// whose buckets lie side by side in one array, about 16 positions in each. Between 4 and 5 bytes for a value.
// Once made it only serves to be read, by any number of threads.
class ValueIndex : public CommonAllocated {
 public:
  // Throws std::bad_alloc.
  explicit ValueIndex(std::span<const Symbol> values);

  // Ascending positions, among them all those of the text, and a few of other texts.
  std::span<const std::uint32_t> Candidates(const char* text) const noexcept;

  bool IsConsistent(std::span<const Symbol> values) const;

 private:
  std::size_t BucketOf(const char* text) const noexcept;

  unsigned bits_;  // 2 to their power is the number of buckets
  std::vector<std::uint32_t, CommonAllocator<std::uint32_t>> ends_;  // of each bucket in positions_
  std::vector<std::uint32_t, CommonAllocator<std::uint32_t>> positions_;
};

}  // namespace du::internal

#endif
