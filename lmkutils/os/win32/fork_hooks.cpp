#include "lmkutils/os/fork_hooks.h"

namespace os {

bool AddForkHooks(ForkHook, ForkHook) noexcept {
  return true;
}

}  // namespace os
