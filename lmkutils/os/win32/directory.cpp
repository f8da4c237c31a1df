#include "lmkutils/os/directory.h"

#include <exception>

#include <windows.h>

#include "lmkutils/os/win32/private_access.h"
#include "lmkutils/os/win32/wide.h"

namespace os {

namespace {

// The text that a call of the form DWORD(size, buffer) gives: it returns the length without the NUL when the
// text fits, else the size that is needed with it. Asked again then, since another thread may have changed it
// meanwhile.
template <class Call>
SystemError ReadPath(Call call, std::string& out) noexcept {
  out.clear();
  try {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
      const DWORD length = call(static_cast<DWORD>(path.size()), path.data());
      if (length == 0) return LastSystemError();
      const bool fits = length < path.size();
      path.resize(length);
      if (fits) return win32::Narrow(path, out);
    }
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace

SystemError CurrentDirectory(std::string& out) noexcept {
  return ReadPath([](DWORD size, wchar_t* buffer) { return GetCurrentDirectoryW(size, buffer); }, out);
}

// "X:" is completed by that drive's own directory, which the run-time keeps in a hidden variable.
SystemError CurrentDirectoryOfDrive(char letter, std::string& out) noexcept {
  const wchar_t drive[] = {static_cast<wchar_t>(letter), L':', L'\0'};
  return ReadPath(
      [&drive](DWORD size, wchar_t* buffer) { return GetFullPathNameW(drive, size, buffer, nullptr); }, out);
}

SystemError ChangeDirectory(const char* path) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  return SetCurrentDirectoryW(wide.c_str()) != 0 ? kSuccess : GetLastError();
}

SystemError MakeDirectory(const char* path, DirectoryAccess access) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  if (access == DirectoryAccess::kDefault) {
    return CreateDirectoryW(wide.c_str(), nullptr) != 0 ? kSuccess : GetLastError();
  }
  const win32::PrivateAccess mine;
  return CreateDirectoryW(wide.c_str(), mine.Attributes()) != 0 ? kSuccess : GetLastError();
}

SystemError RemoveEmptyDirectory(const char* path) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  return RemoveDirectoryW(wide.c_str()) != 0 ? kSuccess : GetLastError();
}

bool IsDirectory(const std::string& path) noexcept {
  std::wstring wide;
  if (win32::Widen(path, wide) != 0) return false;
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace os
