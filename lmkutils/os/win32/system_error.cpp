#include "lmkutils/os/system_error.h"

#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

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

void SetLastSystemError(SystemError error) noexcept {
  if (SystemErrorFromErrno(errno) != error) errno = ErrnoFromSystemError(error);
  ::SetLastError(error);
}

int ErrnoFromSystemError(SystemError error) noexcept {
  switch (error) {
    case kSuccess:
      return 0;
    case kErrorFileNotFound:
    case kErrorPathNotFound:
    case ERROR_NO_MORE_FILES:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
      return ENOENT;
    case kErrorTooManyOpenFiles:
      return EMFILE;
    case kErrorAccessDenied:
    case kErrorWriteProtect:
    case kErrorSharingViolation:
    case kErrorLockViolation:
      return EACCES;
    case kErrorInvalidHandle:
      return EBADF;
    case kErrorNotEnoughMemory:
      return ENOMEM;
    case kErrorNotSameDevice:
      return EXDEV;
    case kErrorInvalidParameter:
    case kErrorDirectory:
      return EINVAL;
    case kErrorBrokenPipe:
      return EPIPE;
    case kErrorHandleDiskFull:
    case kErrorDiskFull:
      return ENOSPC;
    case kErrorInvalidName:
    case ERROR_NO_UNICODE_TRANSLATION:
      return EILSEQ;
    case kErrorDirNotEmpty:
      return ENOTEMPTY;
    case kErrorFileExists:
    case kErrorAlreadyExists:
      return EEXIST;
    case kErrorFilenameExceedsRange:
      return ENAMETOOLONG;
    case kErrorBusy:
      return EBUSY;
    default:
      return EIO;
  }
}

std::string RuntimeErrorText(SystemError error) {
  return std::strerror(ErrnoFromSystemError(error));
}

std::string SystemErrorText(SystemError error) {
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), text, std::size(text), nullptr);
  while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r')) --length;
  std::string narrow;
  if (win32::Narrow({text, length}, narrow) != kSuccess) throw std::bad_alloc();
  return narrow;
}

}  // namespace os
