#include "lmkutils/os/mutex.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

MutexResult RealMutexAcquire(Mutex* mutex) noexcept;
MutexResult RealMutexTryAcquire(Mutex* mutex) noexcept;
bool RealMutexRelease(Mutex* mutex) noexcept;

MutexResult MutexAcquire(Mutex* mutex) noexcept {
  return fault::Consult(fault::Call::kMutexAcquire).fail ? MutexResult::kFailed : RealMutexAcquire(mutex);
}

MutexResult MutexTryAcquire(Mutex* mutex) noexcept {
  return fault::Consult(fault::Call::kMutexAcquire).fail ? MutexResult::kFailed : RealMutexTryAcquire(mutex);
}

bool MutexRelease(Mutex* mutex) noexcept {
  return !fault::Consult(fault::Call::kMutexRelease).fail && RealMutexRelease(mutex);
}

}  // namespace os
