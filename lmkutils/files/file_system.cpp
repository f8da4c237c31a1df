#include "lmkutils/files/file_system.h"

#include "lmkutils/os/system_error.h"

namespace du {

FileSystem::ErrorCode FileSystem::GetLastErrorCode() noexcept {
  switch (os::LastSystemError()) {
    case os::kSuccess:
      return kNoError;
    case os::kErrorAccessDenied:
      return kAccessDenied;
    case os::kErrorNotEnoughMemory:
      return kNotEnoughMemory;
    case os::kErrorFileNotFound:
      return kFileNotFound;
    case os::kErrorDiskFull:
      return kDiskFull;
    case os::kErrorSharingViolation:
      return kSharingViolation;
    default:
      return kOtherError;
  }
}

}  // namespace du
