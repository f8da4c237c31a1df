#include "lmkutils/os/command_line.h"

namespace os {

SystemError CommandLineArguments(std::vector<std::string>& out) noexcept {
  out.clear();
  return kSuccess;
}

void UseUtf8Console() noexcept {}

}  // namespace os
