#include "lmkutils/os/file_status.h"

#include <exception>
#include <string>

#include <windows.h>

#include "lmkutils/os/win32/entry_kind.h"
#include "lmkutils/os/win32/handle.h"
#include "lmkutils/os/win32/wide.h"

namespace os {
namespace {

using win32::Joined;
using win32::OwnedHandle;

constexpr std::uint32_t kReadable = 0444;
constexpr std::uint32_t kWritable = 0222;
constexpr std::uint32_t kSearchable = 0111;

std::uint64_t UnitsOf(const FILETIME& time) noexcept {
  return Joined(time.dwHighDateTime, time.dwLowDateTime);
}

FILETIME TimeOf(std::uint64_t units) noexcept {
  return {.dwLowDateTime = static_cast<DWORD>(units), .dwHighDateTime = static_cast<DWORD>(units >> 32)};
}

std::uint32_t ModeOf(DWORD attributes) noexcept {
  std::uint32_t mode = kReadable;
  if ((attributes & FILE_ATTRIBUTE_READONLY) == 0) mode |= kWritable;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) mode |= kWritable | kSearchable;
  return mode;
}

SystemError Open(const wchar_t* path, DWORD access, DWORD flags, HANDLE& handle) noexcept {
  handle = CreateFileW(path, access, win32::kShareAll, nullptr, OPEN_EXISTING,
                       flags | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  return handle != INVALID_HANDLE_VALUE ? kSuccess : GetLastError();
}

SystemError QueryHandle(HANDLE handle, FileStatus* status) noexcept {
  const DWORD type = GetFileType(handle);
  if (type != FILE_TYPE_DISK) {
    *status = FileStatus();
    status->mode = kReadable | kWritable;
    return kSuccess;
  }
  BY_HANDLE_FILE_INFORMATION info;
  if (GetFileInformationByHandle(handle, &info) == 0) return GetLastError();
  FILE_ATTRIBUTE_TAG_INFO tag = {};
  if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    GetFileInformationByHandleEx(handle, FileAttributeTagInfo, &tag, sizeof tag);
  }
  const EntryKind kind = win32::KindOf(info.dwFileAttributes, tag.ReparseTag);
  *status = {.kind = kind,
             .mode = ModeOf(info.dwFileAttributes),
             .size = kind == EntryKind::kFile ? Joined(info.nFileSizeHigh, info.nFileSizeLow) : 0,
             .created = UnitsOf(info.ftCreationTime),
             .accessed = UnitsOf(info.ftLastAccessTime),
             .modified = UnitsOf(info.ftLastWriteTime),
             .identity = {.volume = info.dwVolumeSerialNumber,
                          .file = Joined(info.nFileIndexHigh, info.nFileIndexLow)}};
  return kSuccess;
}

SystemError QueryPath(const char* path, DWORD flags, FileStatus* status) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  HANDLE handle;
  if (const SystemError error = Open(wide.c_str(), FILE_READ_ATTRIBUTES, flags, handle)) return error;
  const OwnedHandle owner(handle);
  return QueryHandle(handle, status);
}

SystemError SetHandleTimes(HANDLE handle, std::uint64_t created, std::uint64_t modified) noexcept {
  const FILETIME creation = TimeOf(created);
  const FILETIME modification = TimeOf(modified);
  const bool done = SetFileTime(handle, created != 0 ? &creation : nullptr, nullptr,
                                modified != 0 ? &modification : nullptr) != 0;
  return done ? kSuccess : GetLastError();
}

}  // namespace

SystemError QueryStatus(const char* path, FileStatus* status) noexcept {
  return QueryPath(path, 0, status);
}

SystemError QueryEntryStatus(const char* path, FileStatus* status) noexcept {
  return QueryPath(path, FILE_FLAG_OPEN_REPARSE_POINT, status);
}

SystemError QueryFileStatus(File file, FileStatus* status) noexcept {
  return QueryHandle(win32::Handle(file), status);
}

SystemError SetTimes(const char* path, std::uint64_t created, std::uint64_t modified) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  HANDLE handle;
  if (const SystemError error = Open(wide.c_str(), FILE_WRITE_ATTRIBUTES, 0, handle)) return error;
  const OwnedHandle owner(handle);
  return SetHandleTimes(handle, created, modified);
}

SystemError SetFileTimes(File file, std::uint64_t created, std::uint64_t modified) noexcept {
  return SetHandleTimes(win32::Handle(file), created, modified);
}

SystemError SetFileMode(File file, std::uint32_t mode) noexcept {
  FILE_BASIC_INFO info;
  const HANDLE handle = win32::Handle(file);
  if (GetFileInformationByHandleEx(handle, FileBasicInfo, &info, sizeof info) == 0) return GetLastError();
  const bool writable = (mode & kWritable) != 0;
  info.FileAttributes = writable ? info.FileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY)
                                 : info.FileAttributes | FILE_ATTRIBUTE_READONLY;
  if (info.FileAttributes == 0) info.FileAttributes = FILE_ATTRIBUTE_NORMAL;  // 0 would leave them
  return SetFileInformationByHandle(handle, FileBasicInfo, &info, sizeof info) != 0 ? kSuccess
                                                                                    : GetLastError();
}

SystemError SetEntryWritable(const char* path, bool writable) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError();
  constexpr DWORD kReadOnly = FILE_ATTRIBUTE_READONLY;
  const DWORD wanted = writable ? attributes & ~kReadOnly : attributes | kReadOnly;
  return SetFileAttributesW(wide.c_str(), wanted) != 0 ? kSuccess : GetLastError();
}

// The attribute is asked apart: for a directory it means nothing.
SystemError CheckWritable(const char* path) noexcept {
  std::wstring wide;
  if (const SystemError error = win32::Widen(path, wide)) return error;
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError();
  const bool isDirectory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (!isDirectory && (attributes & FILE_ATTRIBUTE_READONLY) != 0) return kErrorAccessDenied;
  HANDLE handle;
  const SystemError error = Open(wide.c_str(), FILE_WRITE_DATA, 0, handle);  // of a directory: adding a file
  const OwnedHandle owner(handle);
  return error == kErrorSharingViolation ? kSuccess : error;  // in use, which says that it may be
}

}  // namespace os
