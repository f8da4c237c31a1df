#include "lmkutils/os/system_error.h"

#include <cerrno>
#include <cstring>

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
      return kErrorNotEnoughMemory;
    case EXDEV:
      return kErrorNotSameDevice;
    case EROFS:
      return kErrorWriteProtect;
    case ETXTBSY:
    case EBUSY:
    case EAGAIN:  // of a file that somebody else has locked
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

void SetLastSystemError(SystemError error) noexcept {
  if (SystemErrorFromErrno(errno) != error) errno = ErrnoFromSystemError(error);
}

int ErrnoFromSystemError(SystemError error) noexcept {
  switch (error) {
    case kSuccess:
      return 0;
    case kErrorFileNotFound:
      return ENOENT;
    case kErrorPathNotFound:
    case kErrorDirectory:
      return ENOTDIR;
    case kErrorTooManyOpenFiles:
      return EMFILE;
    case kErrorAccessDenied:
      return EACCES;
    case kErrorInvalidHandle:
      return EBADF;
    case kErrorNotEnoughMemory:
      return ENOMEM;
    case kErrorNotSameDevice:
      return EXDEV;
    case kErrorWriteProtect:
      return EROFS;
    case kErrorSharingViolation:
    case kErrorLockViolation:
    case kErrorBusy:
      return EBUSY;
    case kErrorNotSupported:
      return ENOTSUP;
    case kErrorInvalidParameter:
      return EINVAL;
    case kErrorBrokenPipe:
      return EPIPE;
    case kErrorHandleDiskFull:
    case kErrorDiskFull:
      return ENOSPC;
    case kErrorInvalidName:
      return EILSEQ;
    case kErrorDirNotEmpty:
      return ENOTEMPTY;
    case kErrorFileExists:
    case kErrorAlreadyExists:
      return EEXIST;
    case kErrorFilenameExceedsRange:
      return ENAMETOOLONG;
    case kErrorCantResolveFilename:
      return ELOOP;
    default:
      return EIO;
  }
}

std::string RuntimeErrorText(SystemError error) {
  return SystemErrorText(error);
}

// The texts of this system are those of its run-time library, in English as strerrordesc_np gives them,
// whatever the locale is.
std::string SystemErrorText(SystemError error) {
  const char* const text = strerrordesc_np(ErrnoFromSystemError(error));
  return text != nullptr ? text : "";
}

}  // namespace os
