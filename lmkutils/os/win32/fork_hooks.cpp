#include "lmkutils/os/fork_hooks.h"

namespace os {

bool AddForkHooks(ForkRank, const ForkHooks&) noexcept {
  return true;
}

}  // namespace os
