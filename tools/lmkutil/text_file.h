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

// Whether both paths lead to one file, which is there.
bool AreOneFile(const std::string& path, const std::string& other);

// Puts the bytes into the file, in place of what it holds, in one step at the end: after a failure, an older
// file is as it was. False when that failed.
bool ReplaceFile(const std::string& path, std::string_view bytes);

// With each CR LF as LF, as a stream in text mode gives them on Windows.
std::string WithoutCarriageReturns(std::string bytes);

// Writes the text and flushes; false when not all of it could be written.
bool Write(std::FILE* stream, std::string_view text);

}  // namespace lmkutil

#endif
