#include "lmkutils/platform/command_line.h"

#include "lmkutils/os/command_line.h"

namespace dp {

std::vector<std::string> CommandLine::GetArguments(int count, const char* const* arguments) {
  std::vector<std::string> texts;
  if (os::CommandLineArguments(texts) != 0 || texts.empty()) texts.assign(arguments, arguments + count);
  return texts;
}

void CommandLine::UseUtf8Console() noexcept {
  os::UseUtf8Console();
}

}  // namespace dp
