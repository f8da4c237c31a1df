#include "lmkutils/os/interrupt.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

bool RealIsInterrupted() noexcept;

bool IsInterrupted() noexcept {
  return fault::Consult(fault::Call::kInterruptAsked).fail || RealIsInterrupted();
}

}  // namespace os
