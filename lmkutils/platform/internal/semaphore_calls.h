// The system's semaphore with the failures of dp::Semaphore and dp::WaitLock.
#ifndef LMKUTILS_PLATFORM_INTERNAL_SEMAPHORE_CALLS_H
#define LMKUTILS_PLATFORM_INTERNAL_SEMAPHORE_CALLS_H

#include "lmkutils/os/semaphore.h"
#include "lmkutils/platform/internal/lock_error.h"

namespace dp::internal {

inline os::Semaphore* CreateOrThrow(unsigned initial, unsigned maximum) {
  os::Semaphore* const semaphore = os::SemaphoreCreate(initial, maximum);
  if (semaphore == nullptr) ThrowLockError("Cannot initialize semaphore.");
  return semaphore;
}

inline bool WaitOrThrow(os::Semaphore* semaphore, unsigned milliseconds, const char* failure) {
  switch (os::SemaphoreWait(semaphore, milliseconds)) {
    case os::WaitResult::kAcquired:
      return true;
    case os::WaitResult::kTimedOut:
      return false;
    case os::WaitResult::kFailed:
      break;
  }
  ThrowLockError(failure);
}

inline bool PollOrThrow(os::Semaphore* semaphore) {
  return WaitOrThrow(semaphore, 0, "Error polling semaphore");
}

inline void SignalOrThrow(os::Semaphore* semaphore, unsigned count) {
  if (!os::SemaphoreSignal(semaphore, count)) ThrowLockError("Error signaling semaphore");
}

}  // namespace dp::internal

#endif
