#include "lmkutils/os/thread.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

bool RealOtherThreadsKilled() noexcept;
SystemError RealThreadStart(const ThreadRequest& request, Thread** thread) noexcept;

SystemError ThreadStart(const ThreadRequest& request, Thread** thread) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kThreadStart);
  if (!verdict.fail) return RealThreadStart(request, thread);
  *thread = nullptr;
  return verdict.error;
}

bool OtherThreadsKilled() noexcept {
  return fault::Consult(fault::Call::kOtherThreadsKilled).fail || RealOtherThreadsKilled();
}

}  // namespace os
