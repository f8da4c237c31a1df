#ifndef LMKUTILS_PLATFORM_COMMAND_LINE_H
#define LMKUTILS_PLATFORM_COMMAND_LINE_H

#include <string>
#include <vector>

#include "lmkutils/export.h"

namespace dp {

// For programs that are run from a command line.
class LMK_API CommandLine {
 public:
  // The program's name and its arguments as UTF-8, given what main was given. On Windows main's texts have
  // lost what the system's code page cannot hold, so the system is asked again; what it cannot tell is taken
  // from main. Throws std::bad_alloc.
  static std::vector<std::string> GetArguments(int count, const char* const* arguments);

  // Makes a console take what the program writes as UTF-8. A program calls it once, before it writes.
  static void UseUtf8Console() noexcept;

  // Whether a person sees what the program writes to that stream, and not a file or another program.
  enum Stream { STANDARD_OUTPUT, STANDARD_ERROR };
  [[nodiscard]] static bool IsTerminal(Stream stream) noexcept;

  // From now on the first Ctrl-C does not end the program but is noted, so that it can end in good order; it
  // asks IsInterrupted, from any thread, as often as it likes. The second one ends the program at once.
  static void CatchInterrupt() noexcept;
  [[nodiscard]] static bool IsInterrupted() noexcept;
};

}  // namespace dp

#endif
