// The one way in which the lock classes report a failure of the system.
#ifndef LMKUTILS_PLATFORM_INTERNAL_LOCK_ERROR_H
#define LMKUTILS_PLATFORM_INTERNAL_LOCK_ERROR_H

namespace dp::internal {

// Throws std::runtime_error. The texts are part of the interface. Nothing is traced: tracing might take the
// very lock that fails. Out of line, so that the locks' fast ways stay short.
[[noreturn]] void ThrowLockError(const char* text);

}  // namespace dp::internal

#endif
