// Pseudo-localisation: a stand-in for a translation that anyone can read.
#ifndef LMKUTILS_TEXT_CORRUPT_MESSAGE_H
#define LMKUTILS_TEXT_CORRUPT_MESSAGE_H

#include <string>
#include <string_view>

#include "lmkutils/export.h"

namespace du {

// Makes a message (UTF-8, as it stands in a string-resource file) look translated: ASCII letters get accents,
// the text grows by about a third of its characters, and brackets show where it begins and ends:
//
//   "Cannot open {0}.\n"  ->  "[Çáññöţ öþéñ {0}.\n ~~~]"
//
// In a window so rendered, plain letters are texts that nobody can translate, and a missing bracket is a text
// cut off or pieced together. What the message format gives a meaning stays byte for byte: a backslash with
// the byte after it, and placeholders, which are digits in braces. Bytes from 0x80 are copied, valid UTF-8 or
// not. Throws std::bad_alloc. Any thread may call it.
LMK_API std::string CorruptMessage(std::string_view message);

}  // namespace du

#endif
