#include "lmkutils/os/host_name.h"

#include <unistd.h>

namespace os {

std::string HostName() {
  char name[256] = {};
  return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

}  // namespace os
