// Directories of the system: the primitives. Paths are UTF-8 and read as in os/file.h; returned ones are in
// the system's own form.
#ifndef LMKUTILS_OS_DIRECTORY_H
#define LMKUTILS_OS_DIRECTORY_H

#include <string>

#include "lmkutils/os/system_error.h"

namespace os {

// The current directory of the process, absolute, without a trailing separator unless it is a root. 0, or a
// system error number and `out` empty (it was removed, a part of it cannot be read, no memory).
[[nodiscard]] SystemError CurrentDirectory(std::string& out) noexcept;

// The current directory that the process has on a drive (an upper-case letter), "X:\" when it has been to
// none. kErrorNotSupported where paths have no drives.
[[nodiscard]] SystemError CurrentDirectoryOfDrive(char letter, std::string& out) noexcept;

// For the whole process.
SystemError ChangeDirectory(const char* path) noexcept;

// Makes one directory, for everybody as the process's defaults allow, or for this user alone.
// kErrorAlreadyExists for any entry of that name.
enum class DirectoryAccess { kDefault, kPrivate };
SystemError MakeDirectory(const char* path, DirectoryAccess access) noexcept;

// Removes a directory without entries, or a link to a directory itself where links know that.
SystemError RemoveEmptyDirectory(const char* path) noexcept;

// Whether `path` is a directory, or a link to one. False for what cannot be asked: no such entry, no
// permission, a path that is not UTF-8 on Windows, a NUL inside.
bool IsDirectory(const std::string& path) noexcept;

}  // namespace os

#endif
