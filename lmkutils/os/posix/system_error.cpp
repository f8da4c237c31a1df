#include "lmkutils/os/system_error.h"

#include <cerrno>

namespace os {

SystemError LastSystemError() noexcept {
  return SystemErrorFromErrno(errno);
}

SystemError SystemErrorFromErrno(int errnoValue) noexcept {
  switch (errnoValue) {
    case 0:
      return kSuccess;
    case ENOENT:
      return kErrorFileNotFound;
    case ENOTDIR:
      return kErrorPathNotFound;
    case EMFILE:
    case ENFILE:
      return kErrorTooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EISDIR:
      return kErrorAccessDenied;
    case EBADF:
      return kErrorInvalidHandle;
    case ENOMEM:
    case EAGAIN:
      return kErrorNotEnoughMemory;  // of pthread_create: no more threads
    case EXDEV:
      return kErrorNotSameDevice;
    case EROFS:
      return kErrorWriteProtect;
    case ETXTBSY:
      return kErrorSharingViolation;
    case ENOTSUP:
    case ENOSYS:
      return kErrorNotSupported;
    case EINVAL:
      return kErrorInvalidParameter;
    case EPIPE:
      return kErrorBrokenPipe;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
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
    case ELOOP:
      return kErrorCantResolveFilename;
    default:
      return kErrorGenFailure;
  }
}

}  // namespace os
