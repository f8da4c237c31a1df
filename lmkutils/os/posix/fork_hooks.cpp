#include "lmkutils/os/fork_hooks.h"

#include <pthread.h>

namespace os {

bool AddForkHooks(ForkHook before, ForkHook after) noexcept {
  return pthread_atfork(before, after, after) == 0;
}

}  // namespace os
