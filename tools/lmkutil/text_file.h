// Files and streams of bytes.
#ifndef LMKUTIL_TEXT_FILE_H
#define LMKUTIL_TEXT_FILE_H

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

namespace lmkutil {

// The bytes of a file given by a UTF-8 path; nothing when it cannot be read to its end.
std::optional<std::string> ReadFile(const std::string& path);

// With each CR LF as LF, as a stream in text mode gives them on Windows.
std::string WithoutCarriageReturns(std::string bytes);

// Writes the text and flushes; false when not all of it could be written.
bool Write(std::FILE* stream, std::string_view text);

}  // namespace lmkutil

#endif
