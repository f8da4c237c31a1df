// Copying one file.
#ifndef LMKUTILS_FILES_INTERNAL_COPY_INTO_H
#define LMKUTILS_FILES_INTERNAL_COPY_INTO_H

#include <string>

#include "lmkutils/files/internal/opened_file.h"
#include "lmkutils/os/directory_tree.h"

namespace du::internal {

// Copies contents, times and mode of an open file to `name` in the directory at which the tree stands. The
// copy is made under another name there and renamed at the end, so that an older file of the name is whole
// until then; after a failure nothing is left.
os::SystemError CopyInto(OpenedFile& source, os::Tree* directory, const std::string& name);

}  // namespace du::internal

#endif
