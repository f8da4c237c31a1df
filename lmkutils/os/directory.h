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

// Whether `path` is a directory, or a link to one. False for what cannot be asked: no such entry, no
// permission, a path that is not UTF-8 on Windows, a NUL inside.
bool IsDirectory(const std::string& path) noexcept;

}  // namespace os

#endif
