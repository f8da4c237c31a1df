#include "lmkutils/os/command_line.h"

namespace os {

std::uint32_t CommandLineArguments(std::vector<std::string>& out) noexcept {
  out.clear();
  return 0;
}

void UseUtf8Console() noexcept {}

}  // namespace os
