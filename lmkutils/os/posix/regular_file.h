// For the sources of this folder only.
#ifndef LMKUTILS_OS_POSIX_REGULAR_FILE_H
#define LMKUTILS_OS_POSIX_REGULAR_FILE_H

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

#include "lmkutils/os/file.h"

namespace os::posix {

// What a call of open gave, as a file, if it has contents; else it is closed, and access denied.
inline SystemError KeepRegular(int descriptor, File* file) noexcept {
  *file = static_cast<File>(descriptor);
  if (descriptor < 0) return LastSystemError();
  struct stat status;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return kSuccess;
  close(descriptor);
  *file = File::kNone;
  errno = EACCES;
  return kErrorAccessDenied;
}

}  // namespace os::posix

#endif
