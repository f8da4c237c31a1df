#include "lmkutils/os/system_error.h"

#include <cerrno>

#include <windows.h>

namespace os {

SystemError LastSystemError() noexcept {
  return ::GetLastError();
}

SystemError SystemErrorFromErrno(int errnoValue) noexcept {
  switch (errnoValue) {
    case 0:
      return kSuccess;
    case ENOENT:
      return kErrorFileNotFound;
    case EMFILE:
      return kErrorTooManyOpenFiles;
    case EACCES:
    case EPERM:
      return kErrorAccessDenied;
    case EBADF:
      return kErrorInvalidHandle;
    case ENOMEM:
      return kErrorNotEnoughMemory;
    case EINVAL:
      return kErrorInvalidParameter;
    case EPIPE:
      return kErrorBrokenPipe;
    case ENOSPC:
      return kErrorDiskFull;
    case EILSEQ:
      return kErrorInvalidName;
    case ENOTEMPTY:
      return kErrorDirNotEmpty;
    case EBUSY:
      return kErrorBusy;
    case EEXIST:
      return kErrorAlreadyExists;
    case ENAMETOOLONG:
      return kErrorFilenameExceedsRange;
    case EIO:
      return kErrorIoDevice;
    default:
      return kErrorGenFailure;
  }
}

}  // namespace os
