#include "lmkutils/platform/process.h"

#include "lmkutils/os/process.h"

namespace dp {

unsigned Process::GetCurrentProcId() noexcept {
  return os::ProcessId();
}

}  // namespace dp
