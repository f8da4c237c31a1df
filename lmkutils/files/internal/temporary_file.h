// Files that get their name when they are complete.
#ifndef LMKUTILS_FILES_INTERNAL_TEMPORARY_FILE_H
#define LMKUTILS_FILES_INTERNAL_TEMPORARY_FILE_H

#include <string>
#include <string_view>

#include "lmkutils/os/directory_tree.h"

namespace du::internal {

using CreateInTree = os::SystemError (*)(os::Tree* tree, const std::string& name, os::File* file) noexcept;

// Makes a file of a new name in the directory at which the tree stands, by os::TreeCreateFile or
// os::TreeCreatePrivateFile; *name begins with the prefix. Throws std::bad_alloc.
os::SystemError CreateTemporary(os::Tree* directory, std::string_view prefix, CreateInTree create,
                                os::File* file, std::string* name);

}  // namespace du::internal

#endif
