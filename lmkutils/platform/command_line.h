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
};

}  // namespace dp

#endif
