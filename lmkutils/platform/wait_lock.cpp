#include "lmkutils/platform/wait_lock.h"

#include "lmkutils/platform/internal/semaphore_calls.h"

namespace dp {

WaitLock::WaitLock() : impl_(internal::CreateOrThrow(1, 1)) {}

WaitLock::~WaitLock() {
  os::SemaphoreDestroy(impl_);
}

void WaitLock::Lock() {
  internal::WaitOrThrow(impl_, os::kInfinite, "Error waiting for semaphore");
}

bool WaitLock::TryLock() {
  return internal::PollOrThrow(impl_);
}

void WaitLock::Unlock() {
  internal::SignalOrThrow(impl_, 1);
}

}  // namespace dp
