#include "lmkutils/os/user_locale.h"

#include "lmkutils/os/posix/variable.h"

namespace os {

std::string UserLocale() {
  for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    std::string value = posix::Variable(name);
    if (!value.empty()) return value;
  }
  return {};
}

}  // namespace os
