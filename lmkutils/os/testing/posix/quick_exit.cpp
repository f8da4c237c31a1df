#include "lmkutils/os/testing/quick_exit.h"

#include <cstdlib>

namespace os::testing {

void QuickExit(int exitCode) {
  std::quick_exit(exitCode);
}

}  // namespace os::testing
