#include "lmkutils/os/console.h"

#include <unistd.h>

namespace os {

bool EnsureConsole(StandardStream) noexcept {
  return true;
}

bool IsTerminal(StandardStream stream) noexcept {
  return isatty(stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO) == 1;
}

}  // namespace os
