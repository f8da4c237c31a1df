// For the sources of this folder only.
#ifndef LMKUTILS_OS_WIN32_REMOVE_FILE_H
#define LMKUTILS_OS_WIN32_REMOVE_FILE_H

#include <windows.h>

namespace os::win32 {

// Removes a file or a link itself; false on failure. Links to directories are directories to the system,
// which removes them without looking further.
inline bool RemoveFileOrLink(const wchar_t* path) noexcept {
  constexpr DWORD kLinkToDirectory = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  const DWORD attributes = GetFileAttributesW(path);
  const bool isLink =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & kLinkToDirectory) == kLinkToDirectory;
  return (isLink ? RemoveDirectoryW(path) : DeleteFileW(path)) != 0;
}

}  // namespace os::win32

#endif
