// The header entry of a PO file, and the lines at the beginning of a string-resource file that go with it.
#ifndef LMKUTIL_PO_HEADER_H
#define LMKUTIL_PO_HEADER_H

#include <string>
#include <vector>

#include "tools/lmkutil/po_file.h"
#include "tools/lmkutil/string_lines.h"

namespace lmkutil {

// How many of the lines before the first message belong to the file as a whole: those up to the last blank
// one. The others belong to the message.
std::size_t HeaderLength(const std::vector<StringLine>& lines, std::size_t firstMessage);

// The header for a string-resource file: its first `length` lines as comments, but for fields that an editor
// has written and ReadHeader has kept, which become fields again.
PoEntry MakeHeader(const StringLines& file, std::size_t length, const std::string& project,
                   const std::string& language);

// The lines that begin the string-resource file, its line ends and its mark.
StringLines ReadHeader(const PoEntry& header);

}  // namespace lmkutil

#endif
