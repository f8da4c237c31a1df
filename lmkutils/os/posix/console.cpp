#include "lmkutils/os/console.h"

namespace os {

bool EnsureConsole(StandardStream) noexcept {
  return true;
}

}  // namespace os
