#include "lmkutils/os/testing/viewer_window.h"

namespace os::testing {

bool RunViewer(const char*, const char*, const ViewerMessage&) {
  return false;
}

bool RunHungViewer(const char*, const char*, const std::function<bool()>&) {
  return false;
}

}  // namespace os::testing
