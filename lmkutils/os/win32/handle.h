// Handles of open files. For the sources of this folder only.
#ifndef LMKUTILS_OS_WIN32_HANDLE_H
#define LMKUTILS_OS_WIN32_HANDLE_H

#include <cstdint>

#include <windows.h>

#include "lmkutils/os/file.h"

namespace os::win32 {

inline HANDLE Handle(File file) noexcept {
  return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(file));
}

inline File FileOf(HANDLE handle) noexcept {
  return static_cast<File>(reinterpret_cast<std::intptr_t>(handle));
}

// Closed at the end of the scope.
class OwnedHandle {
 public:
  explicit OwnedHandle(HANDLE handle) noexcept : handle_(handle) {}
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
  ~OwnedHandle() {
    if (IsOpen()) CloseHandle(handle_);
  }

  bool IsOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const noexcept { return handle_; }

 private:
  const HANDLE handle_;
};

inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

inline std::uint64_t Joined(DWORD high, DWORD low) noexcept {
  return static_cast<std::uint64_t>(high) << 32 | low;
}

}  // namespace os::win32

#endif
