#include "lmkutils/os/directory.h"

#include <exception>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

SystemError CurrentDirectory(std::string& out) noexcept {
  out.clear();
  try {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
      // The length without the NUL when it fits, else the size that is needed with it. Asked again, since
      // another thread may have moved on meanwhile.
      const DWORD length = GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data());
      if (length == 0) return LastSystemError();
      const bool fits = length < path.size();
      path.resize(length);
      if (fits) return win32::Narrow(path, out);
    }
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

bool IsDirectory(const std::string& path) noexcept {
  std::wstring wide;
  if (win32::Widen(path, wide) != 0) return false;
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace os
