// The one way in which the lock classes report a failure of the system.
#ifndef LMKUTILS_PLATFORM_INTERNAL_LOCK_ERROR_H
#define LMKUTILS_PLATFORM_INTERNAL_LOCK_ERROR_H

#include <stdexcept>

namespace dp::internal {

// The callers' texts are part of the interface. Nothing is traced: tracing might take the very lock that
// fails.
[[noreturn]] inline void ThrowLockError(const char* text) {
  throw std::runtime_error(text);
}

}  // namespace dp::internal

#endif
