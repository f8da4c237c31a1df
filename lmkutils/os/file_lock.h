// Locks of files between processes. They go with the open file: closing it, and the end of its process
// however it comes, give them back.
#ifndef LMKUTILS_OS_FILE_LOCK_H
#define LMKUTILS_OS_FILE_LOCK_H

#include <cstdint>

#include "lmkutils/os/file.h"
#include "lmkutils/os/system_error.h"

namespace os {

// Opens the file for reading and writing, making it when it is missing, so that nobody else opens it for
// writing meanwhile: a second call for the same file, in any process, is kErrorSharingViolation. kSuccess for
// a file that was made, kErrorAlreadyExists for one that was opened; with any other result *file is kNone.
SystemError OpenLockFile(const char* path, File* file) noexcept;

// Locks the bytes from 0 on for this open file alone; never waits. Of use with an unlock of the same length
// only.
SystemError LockRange(File file, std::uint64_t length) noexcept;
SystemError UnlockRange(File file, std::uint64_t length) noexcept;

}  // namespace os

#endif
