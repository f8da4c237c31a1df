// What "strings check" finds by comparing the files of several languages.
#ifndef LMKUTIL_COMPARISON_H
#define LMKUTIL_COMPARISON_H

#include <vector>

#include "tools/lmkutil/string_file.h"

namespace lmkutil {

// Files of the same name are languages of one resource; when no two names are the same, all files are. In
// each such group every file is compared with the first one. Adds its findings to the files and keeps these
// sorted.
void CompareLanguages(std::vector<StringFile>& files);

}  // namespace lmkutil

#endif
