// Texts of any origin on a terminal.
#ifndef LMKUTIL_PRINTABLE_H
#define LMKUTIL_PRINTABLE_H

#include <string>
#include <string_view>

namespace lmkutil {

// UTF-8, with U+FFFD for what is none, and without control characters, of which names of files may hold any:
// `substitute` stands for each.
std::u32string PrintableCharacters(std::string_view text, char32_t substitute);
std::string Printable(std::string_view text);  // by '?'

}  // namespace lmkutil

#endif
