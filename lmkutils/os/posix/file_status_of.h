// The system's status as the seam gives it. For the sources of this folder only.
#ifndef LMKUTILS_OS_POSIX_FILE_STATUS_OF_H
#define LMKUTILS_OS_POSIX_FILE_STATUS_OF_H

#include <sys/stat.h>

#include "lmkutils/os/file_status.h"

namespace os::posix {

inline EntryKind KindOf(mode_t mode) noexcept {
  if (S_ISREG(mode)) return EntryKind::kFile;
  if (S_ISDIR(mode)) return EntryKind::kDirectory;
  return S_ISLNK(mode) ? EntryKind::kLink : EntryKind::kOther;
}

inline FileIdentity IdentityOf(const struct stat& status) noexcept {
  return {.volume = status.st_dev, .file = status.st_ino};
}

FileStatus StatusOf(const struct stat& status) noexcept;

}  // namespace os::posix

#endif
