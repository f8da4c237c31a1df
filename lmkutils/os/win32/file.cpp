#include "lmkutils/os/file.h"

#include <algorithm>
#include <exception>
#include <string>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {
namespace {

HANDLE Handle(File file) {
  return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(file));
}

// What one call moves at most.
DWORD PartSize(std::size_t size) {
  return static_cast<DWORD>(std::min<std::size_t>(size, 0x40000000));
}

// The form without a limit on its length, of any path; empty when the system cannot complete it. Throws
// std::bad_alloc.
std::wstring LongForm(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(size == 0 ? 0 : GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  if (full.empty() || full.starts_with(LR"(\\?\)") || full.starts_with(LR"(\\.\)")) return {};
  if (full.starts_with(LR"(\\)")) return LR"(\\?\UNC)" + full.substr(1);
  return LR"(\\?\)" + full;
}

HANDLE OpenWide(const std::wstring& path) {
  return CreateFileW(path.c_str(), FILE_APPEND_DATA | SYNCHRONIZE,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

SystemError OpenForAppending(const char* path, File* file) noexcept {
  *file = File::kNone;
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(path, wide)) return error;
    HANDLE handle = OpenWide(wide);
    SystemError error = handle == INVALID_HANDLE_VALUE ? GetLastError() : kSuccess;
    if (error == ERROR_PATH_NOT_FOUND || error == ERROR_FILENAME_EXCED_RANGE) {
      if (const std::wstring longForm = LongForm(wide); !longForm.empty()) {
        handle = OpenWide(longForm);
        error = handle == INVALID_HANDLE_VALUE ? GetLastError() : kSuccess;
      }
    }
    *file = static_cast<File>(reinterpret_cast<std::intptr_t>(handle));
    return error;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError ReadOnce(File file, void* data, std::size_t size, std::size_t* count) noexcept {
  DWORD got = 0;
  const bool done = ReadFile(Handle(file), data, PartSize(size), &got, nullptr) != 0;
  const SystemError error = done ? kSuccess : GetLastError();
  *count = got;
  return error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF ? kSuccess : error;
}

SystemError WriteOnce(File file, const void* data, std::size_t size, std::size_t* written) noexcept {
  DWORD count = 0;
  const bool done = WriteFile(Handle(file), data, PartSize(size), &count, nullptr) != 0;
  const SystemError error = done ? kSuccess : GetLastError();
  *written = count;
  return error;
}

SystemError SeekFile(File file, std::int64_t offset, SeekFrom from, std::int64_t* position) noexcept {
  const DWORD method = from == SeekFrom::kStart     ? FILE_BEGIN
                       : from == SeekFrom::kCurrent ? FILE_CURRENT
                                                    : FILE_END;
  LARGE_INTEGER distance;
  LARGE_INTEGER reached;
  distance.QuadPart = offset;
  if (SetFilePointerEx(Handle(file), distance, &reached, method) == 0) return GetLastError();
  if (position != nullptr) *position = reached.QuadPart;
  return kSuccess;
}

SystemError CloseFile(File file) noexcept {
  if (file == File::kNone || CloseHandle(Handle(file)) != 0) return kSuccess;
  return GetLastError();
}

bool IsRegularFile(const char* path) noexcept {
  std::wstring wide;
  if (win32::Widen(path, wide) != 0) return false;
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

}  // namespace os
