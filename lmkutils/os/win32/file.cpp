#include "lmkutils/os/file.h"

#include <algorithm>
#include <exception>
#include <string>

#include <windows.h>

#include "lmkutils/os/win32/handle.h"
#include "lmkutils/os/win32/long_form.h"
#include "lmkutils/os/win32/private_access.h"
#include "lmkutils/os/win32/remove_file.h"
#include "lmkutils/os/win32/wide.h"

namespace os {
namespace {

using win32::Handle;

// What one call moves at most.
DWORD PartSize(std::size_t size) {
  return static_cast<DWORD>(std::min<std::size_t>(size, 0x40000000));
}

HANDLE OpenWide(const std::wstring& path) {
  return CreateFileW(path.c_str(), FILE_APPEND_DATA | SYNCHRONIZE,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Calls `operation` with the path and, when that may be too long, once more with the form that has no limit.
// It returns whether it succeeded; the system's last error tells why not.
template <class Operation>
SystemError WithLongForm(const char* path, Operation operation) noexcept {
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(path, wide)) return error;
    if (operation(wide)) return kSuccess;
    const SystemError error = GetLastError();
    if (error != ERROR_PATH_NOT_FOUND && error != ERROR_FILENAME_EXCED_RANGE) return error;
    const std::wstring longForm = win32::LongForm(wide);
    if (longForm.empty()) return error;
    return operation(longForm) ? kSuccess : GetLastError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace

SystemError OpenForAppending(const char* path, File* file) noexcept {
  HANDLE handle = INVALID_HANDLE_VALUE;
  const SystemError error = WithLongForm(path, [&handle](const std::wstring& wide) {
    handle = OpenWide(wide);
    return handle != INVALID_HANDLE_VALUE;
  });
  *file = win32::FileOf(handle);
  return error;
}

SystemError OpenForReading(const char* path, File* file) noexcept {
  *file = File::kNone;
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  const HANDLE handle = CreateFileW(wide.c_str(), GENERIC_READ, win32::kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return GetLastError();
  if (GetFileType(handle) != FILE_TYPE_DISK) {
    CloseHandle(handle);
    return kErrorAccessDenied;
  }
  *file = win32::FileOf(handle);
  return kSuccess;
}

SystemError OpenForChanging(const char* path, File* file) noexcept {
  *file = File::kNone;
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  *file = win32::FileOf(CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return *file != File::kNone ? kSuccess : GetLastError();
}

SystemError CreatePrivateFile(const char* path, File* file) noexcept {
  *file = File::kNone;
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  const win32::PrivateAccess access;
  *file = win32::FileOf(CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, 0, access.Attributes(),
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  return *file != File::kNone ? kSuccess : GetLastError();
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

void ReserveRoom(File, std::int64_t, std::size_t) noexcept {}

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

SystemError ResizeFile(File file, std::int64_t size) noexcept {
  if (const SystemError error = SeekFile(file, size, SeekFrom::kStart, nullptr)) return error;
  return SetEndOfFile(Handle(file)) != 0 ? kSuccess : GetLastError();
}

SystemError FlushFile(File file) noexcept {
  return FlushFileBuffers(Handle(file)) != 0 ? kSuccess : GetLastError();
}

SystemError CloseFile(File file) noexcept {
  if (file == File::kNone || CloseHandle(Handle(file)) != 0) return kSuccess;
  return GetLastError();
}

SystemError RemoveFile(const char* path) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  return win32::RemoveFileOrLink(wide.c_str()) ? kSuccess : GetLastError();
}

SystemError RenameEntry(const char* from, const char* to) noexcept {
  std::wstring source;
  std::wstring target;
  if (const SystemError error = win32::Widen(from, source)) return error;
  if (const SystemError error = win32::Widen(to, target)) return error;
  return MoveFileExW(source.c_str(), target.c_str(), 0) != 0 ? kSuccess : GetLastError();
}

bool IsRegularFile(const char* path) noexcept {
  DWORD attributes = INVALID_FILE_ATTRIBUTES;
  const SystemError error = WithLongForm(path, [&attributes](const std::wstring& wide) {
    attributes = GetFileAttributesW(wide.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES;
  });
  return error == kSuccess && (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

}  // namespace os
