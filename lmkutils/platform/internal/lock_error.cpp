#include "lmkutils/platform/internal/lock_error.h"

#include <stdexcept>

namespace dp::internal {

void ThrowLockError(const char* text) {
  throw std::runtime_error(text);
}

}  // namespace dp::internal
