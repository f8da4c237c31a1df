#include "lmkutils/os/file_lock.h"

#include <windows.h>

#include "lmkutils/os/win32/handle.h"
#include "lmkutils/os/win32/wide.h"

namespace os {

SystemError OpenLockFile(const char* path, File* file) noexcept {
  *file = File::kNone;
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  SetLastError(kSuccess);
  const HANDLE handle = CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  const SystemError error = GetLastError();  // of an opened file too: whether it existed
  *file = win32::FileOf(handle);
  return error;
}

SystemError LockRange(File file, std::uint64_t length) noexcept {
  return LockFile(win32::Handle(file), 0, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32)) !=
                 0
             ? kSuccess
             : GetLastError();
}

SystemError UnlockRange(File file, std::uint64_t length) noexcept {
  return UnlockFile(win32::Handle(file), 0, 0, static_cast<DWORD>(length),
                    static_cast<DWORD>(length >> 32)) != 0
             ? kSuccess
             : GetLastError();
}

}  // namespace os
