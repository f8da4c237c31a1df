#include "lmkutils/os/testing/fork.h"

namespace os::testing {

int RunForked(int (*)()) {
  return kForkUnknown;
}

}  // namespace os::testing
