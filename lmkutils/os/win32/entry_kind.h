// Kinds of directory entries. For the sources of this folder only.
#ifndef LMKUTILS_OS_WIN32_ENTRY_KIND_H
#define LMKUTILS_OS_WIN32_ENTRY_KIND_H

#include <windows.h>

#include "lmkutils/os/file_status.h"

namespace os::win32 {

// Not every reparse point leads elsewhere: those of storage services are files as any other.
inline EntryKind KindOf(DWORD attributes, DWORD reparseTag) noexcept {
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsReparseTagNameSurrogate(reparseTag)) {
    return EntryKind::kLink;
  }
  if ((attributes & FILE_ATTRIBUTE_DEVICE) != 0) return EntryKind::kOther;
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::kDirectory : EntryKind::kFile;
}

}  // namespace os::win32

#endif
