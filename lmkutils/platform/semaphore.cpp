#include "lmkutils/platform/semaphore.h"

#include "lmkutils/platform/internal/semaphore_calls.h"

namespace dp {

Semaphore::Semaphore(unsigned initialCount)
    : impl_(internal::CreateOrThrow(initialCount, os::kSemaphoreMaximum)) {}

Semaphore::~Semaphore() {
  os::SemaphoreDestroy(impl_);
}

bool Semaphore::Wait(unsigned milliseconds) {
  const unsigned limit = milliseconds == 0 ? os::kInfinite : milliseconds;
  return internal::WaitOrThrow(impl_, limit, "Error waiting for semaphore");
}

bool Semaphore::Poll() {
  return internal::PollOrThrow(impl_);
}

void Semaphore::Signal(unsigned count) {
  if (count != 0) internal::SignalOrThrow(impl_, count);
}

void Semaphore::Signal() {
  internal::SignalOrThrow(impl_, 1);
}

}  // namespace dp
