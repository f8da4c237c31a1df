#include "lmkutils/os/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <exception>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lmkutils/os/posix/native_path.h"

namespace os {
namespace {

static_assert(sizeof(off_t) == 8);

int Descriptor(File file) {
  return static_cast<int>(file);
}

}  // namespace

SystemError OpenForAppending(const char* path, File* file) noexcept {
  *file = File::kNone;
  try {
    const std::string native = posix::NativePath(path);
    int descriptor;
    do {
      descriptor = open(native.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOCTTY, 0666);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return SystemErrorFromErrno(errno);
    *file = static_cast<File>(descriptor);
    return kSuccess;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError ReadOnce(File file, void* data, std::size_t size, std::size_t* count) noexcept {
  *count = 0;
  ssize_t result;
  do {
    result = read(Descriptor(file), data, std::min<std::size_t>(size, SSIZE_MAX));
  } while (result < 0 && errno == EINTR);
  if (result < 0) return LastSystemError();
  *count = static_cast<std::size_t>(result);
  return kSuccess;
}

SystemError WriteOnce(File file, const void* data, std::size_t size, std::size_t* written) noexcept {
  *written = 0;
  ssize_t result;
  do {
    result = write(Descriptor(file), data, std::min<std::size_t>(size, SSIZE_MAX));
  } while (result < 0 && errno == EINTR);
  if (result < 0) return SystemErrorFromErrno(errno);
  *written = static_cast<std::size_t>(result);
  return kSuccess;
}

SystemError SeekFile(File file, std::int64_t offset, SeekFrom from, std::int64_t* position) noexcept {
  const int whence = from == SeekFrom::kStart ? SEEK_SET : from == SeekFrom::kCurrent ? SEEK_CUR : SEEK_END;
  const off_t reached = lseek(Descriptor(file), offset, whence);
  if (reached < 0) return LastSystemError();
  if (position != nullptr) *position = reached;
  return kSuccess;
}

// Not repeated when interrupted: the descriptor is free then, and may be another thread's already.
SystemError CloseFile(File file) noexcept {
  if (file == File::kNone || close(Descriptor(file)) == 0 || errno == EINTR) return kSuccess;
  return SystemErrorFromErrno(errno);
}

bool IsRegularFile(const char* path) noexcept {
  try {
    struct stat status;
    return stat(posix::NativePath(path).c_str(), &status) == 0 && S_ISREG(status.st_mode);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace os
