#include "lmkutils/os/saved_error.h"

#include <cerrno>

#include <windows.h>

namespace os {

SavedError::SavedError() noexcept : errno_(errno), lastError_(GetLastError()) {}

SavedError::~SavedError() {
  errno = errno_;
  SetLastError(lastError_);
}

}  // namespace os
