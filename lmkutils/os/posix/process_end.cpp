#include "lmkutils/os/process_end.h"

namespace os {

// The library is linked so that dlclose does not unload it: threads that it never heard of may have its
// callbacks.
bool ProcessIsEnding() noexcept {
  return true;
}

}  // namespace os
