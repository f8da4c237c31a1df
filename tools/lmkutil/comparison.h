// What "strings check" finds by comparing the files of several languages.
#ifndef LMKUTIL_COMPARISON_H
#define LMKUTIL_COMPARISON_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/lmkutil/string_file.h"

namespace lmkutil {

// Files of the same name are languages of one resource; when no two names are the same, all files are. In
// each such group every file is compared with the first one. Adds its findings to the files and keeps these
// sorted.
void CompareLanguages(std::vector<StringFile>& files);

// Compares a file with the one that it is a translation of, in the same way.
void CompareWithReference(const StringFile& reference, StringFile& file);

// The messages by their tags; they belong to the file.
std::map<std::string, const Message*> ByTag(const StringFile& file);

// How many arguments must be given for a text with these placeholders.
long ArgumentCount(const std::set<long>& arguments);

}  // namespace lmkutil

#endif
