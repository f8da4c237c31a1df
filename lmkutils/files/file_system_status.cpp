// FileSystem: existence and attributes.
#include <string>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/opened_file.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/file_status.h"

namespace du {
namespace {

using internal::TextOf;
using internal::TryPath;

constexpr std::uint64_t kUnitsPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

bool Query(const char* path, os::FileStatus& status) {
  return TryPath(std::string(TextOf(path)), true,
                 [&status](const char* form) { return os::QueryStatus(form, &status); }) == os::kSuccess;
}

std::int64_t SecondsSince1970(std::uint64_t units) noexcept {
  return static_cast<std::int64_t>(units / kUnitsPerSecond) - kSecondsFrom1601To1970;
}

}  // namespace

bool FileSystem::FileExists(const char* path) {
  os::FileStatus status;
  return Query(path, status) && status.kind != os::EntryKind::kDirectory;
}

bool FileSystem::DirExists(const char* path) {
  os::FileStatus status;
  return Query(path, status) && status.kind == os::EntryKind::kDirectory;
}

bool FileSystem::FileReadable(const char* path) {
  return internal::OpenedFile().OpenForReading(std::string(TextOf(path)));
}

bool FileSystem::HasWritePermissions(const char* path) {
  return TryPath(std::string(TextOf(path)), true, os::CheckWritable) == os::kSuccess;
}

bool FileSystem::SetWritable(const char* path, bool writable) {
  return TryPath(std::string(TextOf(path)), true, [writable](const char* form) {
           return os::SetEntryWritable(form, writable);
         }) == os::kSuccess;
}

bool FileSystem::SetFileTime(const char* path, std::uint64_t creation, std::uint64_t modification) {
  return TryPath(std::string(TextOf(path)), true, [creation, modification](const char* form) {
           return os::SetTimes(form, creation, modification);
         }) == os::kSuccess;
}

int FileSystem::Stat(const char* path, FileStat* stat) {
  if (stat == nullptr) {
    os::SetLastSystemError(os::kErrorInvalidParameter);
    return -1;
  }
  os::FileStatus status;
  if (!Query(path, status)) return -1;
  *stat = {.size = status.size,
           .creationTime = SecondsSince1970(status.created),
           .modificationTime = SecondsSince1970(status.modified),
           .accessTime = SecondsSince1970(status.accessed),
           .mode = status.mode,
           .isDirectory = status.kind == os::EntryKind::kDirectory,
           .isRegularFile = status.kind == os::EntryKind::kFile};
  return 0;
}

}  // namespace du
