// The paths of deletions, resolved, and what permits them.
#ifndef LMKUTILS_FILES_INTERNAL_DELETABLE_PATH_H
#define LMKUTILS_FILES_INTERNAL_DELETABLE_PATH_H

#include <string>

namespace du::internal {

// The path that a deletion works on: the given one, but absolute and resolved by its text when it has a "..".
// Who asks whether it may be deleted and who deletes it must mean the same: the system would resolve ".."
// behind a link elsewhere.
std::string ResolvedForDeletion(const std::string& path);

// With a separator at its end, so that a '.' in its last name does not make it a file's.
std::string AsDirectory(std::string path);

// Whether the path is a drive, a share or "/", however it is written: never to be deleted.
bool IsRoot(const std::string& path);

bool IsPermitted(const std::string& resolved);

// Takes a directory that is gone off the list, without a word if it is not in it.
void ForgetValidDirectory(const std::string& path);

}  // namespace du::internal

#endif
