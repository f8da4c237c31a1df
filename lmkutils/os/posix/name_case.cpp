#include "lmkutils/os/name_case.h"

namespace os {

std::string FoldName(std::string name) {
  return name;
}

}  // namespace os
