#include "lmkutils/os/file_lock.h"

#include <cerrno>
#include <exception>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "lmkutils/os/posix/native_path.h"

namespace os {
namespace {

constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOCTTY;

int OpenRetrying(const char* path, int flags) noexcept {
  int descriptor;
  do {
    descriptor = open(path, flags, 0666);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

// Locks of the open file, not of the process: those of a process go when it closes the file anywhere.
SystemError SetRangeLock(File file, short type, std::uint64_t length) noexcept {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_len = static_cast<off_t>(length);
  if (fcntl(static_cast<int>(file), F_OFD_SETLK, &range) == 0) return kSuccess;
  return errno == EAGAIN || errno == EACCES ? kErrorLockViolation : LastSystemError();
}

}  // namespace

SystemError OpenLockFile(const char* path, File* file) noexcept {
  *file = File::kNone;
  try {
    const std::string native = posix::NativePath(path);
    SystemError result = kSuccess;
    int descriptor = OpenRetrying(native.c_str(), kFlags | O_CREAT | O_EXCL);
    if (descriptor < 0 && errno == EEXIST) {
      descriptor = OpenRetrying(native.c_str(), kFlags | O_CREAT);
      result = kErrorAlreadyExists;
    }
    if (descriptor < 0) return LastSystemError();
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
      result = errno == EWOULDBLOCK ? kErrorSharingViolation : LastSystemError();
      close(descriptor);
      return result;
    }
    *file = static_cast<File>(descriptor);
    return result;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError LockRange(File file, std::uint64_t length) noexcept {
  return SetRangeLock(file, F_WRLCK, length);
}

SystemError UnlockRange(File file, std::uint64_t length) noexcept {
  return SetRangeLock(file, F_UNLCK, length);
}

}  // namespace os
