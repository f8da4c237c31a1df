#include "lmkutils/os/descriptor.h"

#include <cerrno>
#include <exception>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lmkutils/os/posix/native_path.h"

namespace os {

const int kOpenReadOnly = O_RDONLY;
const int kOpenWriteOnly = O_WRONLY;
const int kOpenReadWrite = O_RDWR;
const int kOpenAppend = O_APPEND;
const int kOpenCreate = O_CREAT;
const int kOpenExclusive = O_EXCL;
const int kOpenTruncate = O_TRUNC;
const int kOpenBinary = 0;

namespace {

// open(2) itself refuses directories only for writing.
bool IsDirectoryDescriptor(int descriptor) noexcept {
  struct stat status;
  return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

SystemError OpenDescriptor(const char* path, int flags, int mode, int* descriptor) noexcept {
  *descriptor = -1;
  try {
    const std::string native = posix::NativePath(path);
    int opened;
    do {
      opened = open(native.c_str(), flags | O_CLOEXEC | O_NOCTTY, static_cast<mode_t>(mode));
    } while (opened < 0 && errno == EINTR);
    if (opened < 0) return LastSystemError();
    if (IsDirectoryDescriptor(opened)) {
      close(opened);
      errno = EISDIR;
      return LastSystemError();
    }
    *descriptor = opened;
    return kSuccess;
  } catch (const std::exception&) {
    errno = ENOMEM;
    return kErrorNotEnoughMemory;
  }
}

SystemError CloseDescriptor(int descriptor) noexcept {
  return CloseFile(FileOfDescriptor(descriptor));
}

SystemError StreamOfDescriptor(int descriptor, const char* mode, std::FILE** stream) noexcept {
  *stream = fdopen(descriptor, mode);
  return *stream != nullptr ? kSuccess : LastSystemError();
}

int DescriptorOfStream(std::FILE* stream) noexcept {
  return fileno(stream);
}

// Flushed first: an interrupted flush can be repeated, an interrupted fclose has lost what it held.
SystemError CloseStream(std::FILE* stream) noexcept {
  int flushed;
  do {
    flushed = std::fflush(stream);
  } while (flushed != 0 && errno == EINTR);
  const int flushError = flushed != 0 ? errno : 0;
  const bool closed = std::fclose(stream) == 0 || errno == EINTR;
  if (flushError != 0) errno = flushError;
  return flushError == 0 && closed ? kSuccess : LastSystemError();
}

File FileOfDescriptor(int descriptor) noexcept {
  return static_cast<File>(descriptor);
}

}  // namespace os
