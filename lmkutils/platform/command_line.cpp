#include "lmkutils/platform/command_line.h"

#include "lmkutils/os/command_line.h"
#include "lmkutils/os/console.h"
#include "lmkutils/os/interrupt.h"

namespace dp {

std::vector<std::string> CommandLine::GetArguments(int count, const char* const* arguments) {
  std::vector<std::string> texts;
  if (os::CommandLineArguments(texts) != 0 || texts.empty()) texts.assign(arguments, arguments + count);
  return texts;
}

void CommandLine::UseUtf8Console() noexcept {
  os::UseUtf8Console();
}

bool CommandLine::IsTerminal(Stream stream) noexcept {
  return os::IsTerminal(stream == STANDARD_OUTPUT ? os::StandardStream::kOutput : os::StandardStream::kError);
}

// Where the system refuses, Ctrl-C ends the program as ever.
void CommandLine::CatchInterrupt() noexcept {
  os::CatchInterrupt();
}

bool CommandLine::IsInterrupted() noexcept {
  return os::IsInterrupted();
}

}  // namespace dp
