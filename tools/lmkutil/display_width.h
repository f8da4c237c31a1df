// How wide a text is on a terminal.
#ifndef LMKUTIL_DISPLAY_WIDTH_H
#define LMKUTIL_DISPLAY_WIDTH_H

#include <cstddef>
#include <string_view>

namespace lmkutil {

// Columns that a line of UTF-8 takes: two for each wide character of the East Asian scripts and each emoji
// (Unicode Standard Annex 11, by blocks), none for marks that combine with the character before, one else.
std::size_t DisplayWidth(std::string_view text);

}  // namespace lmkutil

#endif
