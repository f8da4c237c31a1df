#include "lmkutils/os/saved_error.h"

#include <cerrno>

namespace os {

SavedError::SavedError() noexcept : errno_(errno), lastError_(0) {}

SavedError::~SavedError() {
  errno = errno_;
}

}  // namespace os
