// A variable of the environment as a text, for the services that read some themselves.
#ifndef LMKUTILS_OS_POSIX_VARIABLE_H
#define LMKUTILS_OS_POSIX_VARIABLE_H

#include <string>

#include "lmkutils/os/environment.h"

namespace os::posix {

// Empty when it is not set. Another thread may change it between two calls, hence the loop.
inline std::string Variable(const char* name) {
  std::string value;
  for (std::size_t size = ReadVariable(name, value.data(), 0); size != 0;) {
    value.resize(size);
    const std::size_t needed = ReadVariable(name, value.data(), size);
    if (needed <= size) {
      value.resize(needed == 0 ? 0 : needed - 1);
      break;
    }
    size = needed;
  }
  return value;
}

}  // namespace os::posix

#endif
