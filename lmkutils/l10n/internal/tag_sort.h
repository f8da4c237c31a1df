// Sorting tags for the tag index.
#ifndef LMKUTILS_L10N_INTERNAL_TAG_SORT_H
#define LMKUTILS_L10N_INTERNAL_TAG_SORT_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace du::internal {

// The bytes that two texts have in common at their beginning.
std::size_t CommonPrefix(std::string_view a, std::string_view b) noexcept;

// The numbers of the tags in ascending order of their bytes as unsigned numbers, equal tags in ascending
// order of their numbers. The tags hold no NUL bytes.
//
// Eight bytes at a time, from the most significant: tags of one program share long prefixes, which comparing
// them two by two reads again and again. Takes time in proportion to the bytes, and no recursion.
std::vector<std::int32_t> SortTags(const std::vector<std::string_view>& tags);

}  // namespace du::internal

#endif
