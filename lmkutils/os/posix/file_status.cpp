#include "lmkutils/os/file_status.h"

#include <cerrno>
#include <exception>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lmkutils/os/posix/file_status_of.h"
#include "lmkutils/os/posix/native_path.h"

namespace os {
namespace {

constexpr std::int64_t kUnitsPerSecond = 10'000'000;
constexpr std::int64_t kNanosecondsPerUnit = 100;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr mode_t kPermissions = 07777;
constexpr mode_t kAllMayWrite = S_IWUSR | S_IWGRP | S_IWOTH;

int Descriptor(File file) noexcept {
  return static_cast<int>(file);
}

// Before 1601 there is nothing to count.
std::uint64_t UnitsOf(const timespec& time) noexcept {
  const std::int64_t seconds = time.tv_sec + kSecondsFrom1601To1970;
  if (seconds < 0) return 0;
  return static_cast<std::uint64_t>(seconds * kUnitsPerSecond + time.tv_nsec / kNanosecondsPerUnit);
}

timespec TimeOf(std::uint64_t units) noexcept {
  if (units == 0) return {.tv_sec = 0, .tv_nsec = UTIME_OMIT};
  const auto seconds = static_cast<std::int64_t>(units / kUnitsPerSecond) - kSecondsFrom1601To1970;
  return {.tv_sec = seconds,
          .tv_nsec = static_cast<std::int64_t>(units % kUnitsPerSecond) * kNanosecondsPerUnit};
}

// Calls `operation` with the path as this system takes it. 0 of it is success.
template <class Operation>
SystemError WithNative(const char* path, Operation operation) noexcept {
  try {
    const std::string native = posix::NativePath(path);
    return operation(native.c_str()) == 0 ? kSuccess : LastSystemError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace

FileStatus posix::StatusOf(const struct stat& status) noexcept {
  return {.kind = KindOf(status.st_mode),
          .mode = status.st_mode & kPermissions,
          .size = S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0,
          .created = UnitsOf(status.st_ctim),
          .accessed = UnitsOf(status.st_atim),
          .modified = UnitsOf(status.st_mtim),
          .identity = IdentityOf(status)};
}

SystemError QueryStatus(const char* path, FileStatus* status) noexcept {
  struct stat found = {};
  const SystemError error = WithNative(path, [&found](const char* native) { return stat(native, &found); });
  if (error == kSuccess) *status = posix::StatusOf(found);
  return error;
}

SystemError QueryEntryStatus(const char* path, FileStatus* status) noexcept {
  struct stat found = {};
  const SystemError error = WithNative(path, [&found](const char* native) { return lstat(native, &found); });
  if (error == kSuccess) *status = posix::StatusOf(found);
  return error;
}

SystemError QueryFileStatus(File file, FileStatus* status) noexcept {
  struct stat found = {};
  if (fstat(Descriptor(file), &found) != 0) return LastSystemError();
  *status = posix::StatusOf(found);
  return kSuccess;
}

SystemError SetTimes(const char* path, std::uint64_t /*created*/, std::uint64_t modified) noexcept {
  const timespec times[] = {TimeOf(0), TimeOf(modified)};
  return WithNative(path, [&times](const char* native) { return utimensat(AT_FDCWD, native, times, 0); });
}

SystemError SetFileTimes(File file, std::uint64_t /*created*/, std::uint64_t modified) noexcept {
  const timespec times[] = {TimeOf(0), TimeOf(modified)};
  return futimens(Descriptor(file), times) == 0 ? kSuccess : LastSystemError();
}

SystemError SetFileMode(File file, std::uint32_t mode) noexcept {
  return fchmod(Descriptor(file), mode & kPermissions) == 0 ? kSuccess : LastSystemError();
}

SystemError SetEntryWritable(const char* path, bool writable) noexcept {
  return WithNative(path, [writable](const char* native) {
    struct stat found = {};
    if (stat(native, &found) != 0) return -1;
    const mode_t mode = found.st_mode & kPermissions;
    return chmod(native, writable ? mode | S_IWUSR : mode & ~kAllMayWrite);
  });
}

SystemError CheckWritable(const char* path) noexcept {
  return WithNative(path, [](const char* native) { return faccessat(AT_FDCWD, native, W_OK, AT_EACCESS); });
}

}  // namespace os
