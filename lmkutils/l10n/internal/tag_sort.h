// Sorting tags for the tag index.
#ifndef LMKUTILS_L10N_INTERNAL_TAG_SORT_H
#define LMKUTILS_L10N_INTERNAL_TAG_SORT_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace du::internal {

// Tags in ascending order of their bytes as unsigned numbers.
struct SortedTags {
  std::vector<std::int32_t> order;  // the tags' numbers; those of equal tags ascend
  // By place in the order: the bytes in common with the tag before; 0 for the first.
  std::vector<std::uint32_t> shared;
};

// The tags hold no NUL bytes and are shorter than 2^31 bytes.
//
// Eight bytes at a time, from the most significant: tags of one program share long prefixes, which comparing
// them two by two would read again and again. Takes time in proportion to the bytes, and no recursion.
SortedTags SortTags(const std::vector<std::string_view>& tags);

}  // namespace du::internal

#endif
