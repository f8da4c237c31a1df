#include "lmkutils/platform/recursive_lock.h"

#include "lmkutils/os/mutex.h"
#include "lmkutils/platform/internal/lock_error.h"

namespace dp {

RecursiveLock::RecursiveLock() : impl_(os::MutexCreate()) {
  if (impl_ == nullptr) internal::ThrowLockError("Cannot initialize mutex.");
}

RecursiveLock::~RecursiveLock() {
  os::MutexDestroy(impl_);
}

void RecursiveLock::Lock() {
  if (os::MutexAcquire(impl_) == os::MutexResult::kFailed) {
    internal::ThrowLockError("Error waiting for recursivelock");
  }
}

bool RecursiveLock::TryLock() {
  switch (os::MutexTryAcquire(impl_)) {
    case os::MutexResult::kAcquired:
      return true;
    case os::MutexResult::kBusy:
      return false;
    case os::MutexResult::kAbandoned:
      os::MutexRelease(impl_);
      break;  // else nobody would ever release it
    case os::MutexResult::kFailed:
      break;
  }
  internal::ThrowLockError("Error polling recursivelock");
}

void RecursiveLock::Unlock() {
  if (!os::MutexRelease(impl_)) internal::ThrowLockError("Error unlocking recursivelock");
}

}  // namespace dp
