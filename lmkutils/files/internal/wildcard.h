// Patterns of file names.
#ifndef LMKUTILS_FILES_INTERNAL_WILDCARD_H
#define LMKUTILS_FILES_INTERNAL_WILDCARD_H

#include <string_view>

namespace du::internal {

// Whether the whole name matches: '*' any characters, none among them, '?' one character of UTF-8, all
// others themselves. The time is at most the product of the lengths.
bool MatchesWildcards(std::string_view pattern, std::string_view name) noexcept;

}  // namespace du::internal

#endif
