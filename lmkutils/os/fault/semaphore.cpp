#include "lmkutils/os/semaphore.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

WaitResult RealSemaphoreWait(Semaphore* semaphore, std::uint32_t milliseconds) noexcept;
bool RealSemaphoreSignal(Semaphore* semaphore, std::uint32_t count) noexcept;

WaitResult SemaphoreWait(Semaphore* semaphore, std::uint32_t milliseconds) noexcept {
  return fault::Consult(fault::Call::kSemaphoreWait).fail ? WaitResult::kFailed
                                                          : RealSemaphoreWait(semaphore, milliseconds);
}

bool SemaphoreSignal(Semaphore* semaphore, std::uint32_t count) noexcept {
  return !fault::Consult(fault::Call::kSemaphoreSignal).fail && RealSemaphoreSignal(semaphore, count);
}

}  // namespace os
