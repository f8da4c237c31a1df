// Error numbers of the seam: on every target those that the Windows system calls use, so that one text and
// one test serve all.
#ifndef LMKUTILS_OS_SYSTEM_ERROR_H
#define LMKUTILS_OS_SYSTEM_ERROR_H

#include <cstdint>
#include <string>

namespace os {

using SystemError = std::uint32_t;  // 0 is success

inline constexpr SystemError kSuccess = 0;
inline constexpr SystemError kErrorFileNotFound = 2;
inline constexpr SystemError kErrorPathNotFound = 3;
inline constexpr SystemError kErrorTooManyOpenFiles = 4;
inline constexpr SystemError kErrorAccessDenied = 5;
inline constexpr SystemError kErrorInvalidHandle = 6;
inline constexpr SystemError kErrorNotEnoughMemory = 8;
inline constexpr SystemError kErrorNotSameDevice = 17;
inline constexpr SystemError kErrorWriteProtect = 19;
inline constexpr SystemError kErrorGenFailure = 31;  // what has no better number
inline constexpr SystemError kErrorSharingViolation = 32;
inline constexpr SystemError kErrorLockViolation = 33;
inline constexpr SystemError kErrorHandleDiskFull = 39;
inline constexpr SystemError kErrorNotSupported = 50;
inline constexpr SystemError kErrorFileExists = 80;
inline constexpr SystemError kErrorInvalidParameter = 87;
inline constexpr SystemError kErrorBrokenPipe = 109;
inline constexpr SystemError kErrorDiskFull = 112;
inline constexpr SystemError kErrorInvalidName = 123;
inline constexpr SystemError kErrorDirNotEmpty = 145;
inline constexpr SystemError kErrorBusy = 170;
inline constexpr SystemError kErrorAlreadyExists = 183;
inline constexpr SystemError kErrorFilenameExceedsRange = 206;
inline constexpr SystemError kErrorDirectory = 267;
inline constexpr SystemError kErrorIoDevice = 1117;
inline constexpr SystemError kErrorCantResolveFilename = 1921;  // too many symbolic links

// The failure of the system call that this thread made last. Only of use directly after that call.
SystemError LastSystemError() noexcept;

// Leaves a failure behind as a system call would: in errno, and on Windows as the last error too. Where errno
// means the same already, it stays, since it may say more.
void SetLastSystemError(SystemError error) noexcept;

// The same meaning for a number of the C run-time's errno; 0 for 0, kErrorGenFailure for one not known here.
SystemError SystemErrorFromErrno(int errnoValue) noexcept;

// The other way round; EIO for a number not known here.
int ErrnoFromSystemError(SystemError error) noexcept;

// The run-time library's text for the failure, as strerror gives it.
std::string RuntimeErrorText(SystemError error);

// The system's own text for the failure, in US English and without a line end; empty when it has none.
std::string SystemErrorText(SystemError error);

}  // namespace os

#endif
