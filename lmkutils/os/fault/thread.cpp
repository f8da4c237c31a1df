#include "lmkutils/os/thread.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealThreadStart(const ThreadRequest& request, Thread** thread) noexcept;

SystemError ThreadStart(const ThreadRequest& request, Thread** thread) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kThreadStart);
  if (!verdict.fail) return RealThreadStart(request, thread);
  *thread = nullptr;
  return verdict.error;
}

}  // namespace os
