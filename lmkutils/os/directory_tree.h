// Walking directories by handle. Names of entries are the system's own text, handed back to it untouched:
// on Linux any bytes but '/' and NUL, '\' among them; on Windows UTF-8.
#ifndef LMKUTILS_OS_DIRECTORY_TREE_H
#define LMKUTILS_OS_DIRECTORY_TREE_H

#include <string>
#include <vector>

#include "lmkutils/os/file.h"
#include "lmkutils/os/file_status.h"
#include "lmkutils/os/system_error.h"

namespace os {

struct DirectoryEntry {
  std::string name;  // never "." or ".."
  EntryKind kind = EntryKind::kOther;
};

// -- A position in a tree of directories. It moves by one level at a time, never through a link and never to
// what is mounted below, and holds on to where it is: a directory that another process replaces by a link in
// the meantime is not followed. Any depth takes a few descriptors at most where these are scarce. One thread
// at a time.
struct Tree;

enum class Links { kFollow, kRefuse };
// At the directory `path` (UTF-8, as in os/file.h). kErrorDirectory for what is no directory, and for a link
// to one unless these are followed. On failure *tree is null.
SystemError TreeOpen(const char* path, Links links, Tree** tree) noexcept;
void TreeClose(Tree* tree) noexcept;  // null does nothing

FileIdentity TreeIdentity(const Tree* tree) noexcept;
// The names in the current directory, in no order. On failure what could be read.
SystemError TreeList(Tree* tree, std::vector<DirectoryEntry>* entries) noexcept;
// To the directory `name` below; kErrorNotSameDevice when another file system begins there.
SystemError TreeEnter(Tree* tree, const std::string& name) noexcept;
// Back up; not above the directory that was opened. Fails when the directory was moved elsewhere meanwhile.
SystemError TreeLeave(Tree* tree) noexcept;

// As the functions of os/file.h and os/directory.h, for entries of the current directory. TreeCreateFile is
// TreeCreatePrivateFile for a file that is everybody's as the process's defaults allow. TreeRemoveFile
// removes all but directories; TreeReplace renames over an existing file in one step, and leaves `from` so
// that it can be removed when that fails.
SystemError TreeOpenForReading(Tree* tree, const std::string& name, File* file) noexcept;
SystemError TreeCreateFile(Tree* tree, const std::string& name, File* file) noexcept;
SystemError TreeCreatePrivateFile(Tree* tree, const std::string& name, File* file) noexcept;
SystemError TreeMakeDirectory(Tree* tree, const std::string& name) noexcept;
SystemError TreeRemoveFile(Tree* tree, const std::string& name) noexcept;
SystemError TreeRemoveDirectory(Tree* tree, const std::string& name) noexcept;
SystemError TreeReplace(Tree* tree, const std::string& from, const std::string& to) noexcept;

// -- The entries of one directory, read as they are asked for.
struct Listing;

SystemError ListingOpen(const char* path, Listing** listing) noexcept;
// False at the end, and after a failure.
bool ListingNext(Listing* listing, DirectoryEntry* entry) noexcept;
// Whether a link that ListingNext gave leads to a directory.
bool ListingLeadsToDirectory(const Listing* listing, const std::string& name) noexcept;
void ListingClose(Listing* listing) noexcept;  // null does nothing

}  // namespace os

#endif
