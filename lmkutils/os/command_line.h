// What the system knows of the command line that the run-time's main does not.
#ifndef LMKUTILS_OS_COMMAND_LINE_H
#define LMKUTILS_OS_COMMAND_LINE_H

#include <string>
#include <vector>

#include "lmkutils/os/system_error.h"

namespace os {

// The program's name and arguments, UTF-8. 0; else a system error number and `out` empty. Where main's own
// arguments are what the system knows (Linux), the answer is 0 and `out` is empty.
[[nodiscard]] SystemError CommandLineArguments(std::vector<std::string>& out) noexcept;

// From now on a console that the process writes to takes its bytes as UTF-8. Nothing where it always does.
void UseUtf8Console() noexcept;

}  // namespace os

#endif
