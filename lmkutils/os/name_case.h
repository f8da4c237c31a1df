// Which names of files the system takes for the same.
#ifndef LMKUTILS_OS_NAME_CASE_H
#define LMKUTILS_OS_NAME_CASE_H

#include <string>

namespace os {

// The name, UTF-8, so that names which differ only in what the system disregards become equal: its letters in
// one case on Windows, the name itself elsewhere. Throws std::bad_alloc.
std::string FoldName(std::string name);

}  // namespace os

#endif
