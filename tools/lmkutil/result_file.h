// The file that a command writes.
#ifndef LMKUTIL_RESULT_FILE_H
#define LMKUTIL_RESULT_FILE_H

#include <string>
#include <vector>

#include "tools/lmkutil/commands.h"
#include "tools/lmkutil/resources.h"

namespace lmkutil {

// Puts the bytes into the file, in place of what it holds. Refuses to write over one of the `sources`. On
// failure a line on the error stream, and an older file is left as it was.
ExitStatus WriteResult(const std::string& path, const std::string& bytes,
                       const std::vector<std::string>& sources, const Resources& resources);

// False, and a line on the error stream, when the path does not end with one of the suffixes: the order of
// arguments is easily mixed up, and a file of another kind would be lost.
bool HasSuffix(const std::string& path, const std::vector<std::string>& suffixes, const Resources& resources);

}  // namespace lmkutil

#endif
