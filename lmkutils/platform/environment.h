// The process environment.
#ifndef LMKUTILS_PLATFORM_ENVIRONMENT_H
#define LMKUTILS_PLATFORM_ENVIRONMENT_H

#include <string>

#include "lmkutils/export.h"

namespace dp {

// Reads and changes the environment variables of the process; the library itself reads its configuration
// through nothing else. Narrow texts are UTF-8, wide texts UTF-16 or UTF-32 by the size of wchar_t. Names and
// values keep all their characters, whatever the system's code page is. A text ends at its first NUL.
//
// Every operation may be called from any thread and copes with other threads that change the same variable
// through this class. On Linux code that calls setenv or putenv itself while other threads use this class, or
// convert local time, is a race, as it is with getenv; a forked process may use the class at once. On Windows
// it is not for the exit calls of a process whose other threads were killed, perhaps inside it.
class LMK_API Environment {
 public:
  Environment() noexcept = default;
  Environment(const Environment&) noexcept = default;
  // There is nothing to assign: both do nothing.
  Environment& operator=(const Environment&) noexcept;
  Environment& operator=(Environment&&) noexcept;

  // The variable's value, or an empty string when it is not set. Characters of the value that the other
  // encoding cannot hold are read as U+FFFD; a name that is not valid text is not set.
  // Throws std::invalid_argument "dp::Environment::Get() expects name to be non-empty." (null counts as
  // empty).
  [[nodiscard]] static std::wstring Get(const std::wstring& name);
  [[nodiscard]] static std::string Get(const std::string& name);
  [[nodiscard]] static std::string Get(const char* name);

  // Sets the variable; an empty (or null) value removes it.
  // Throws std::invalid_argument "dp::Environment::Put() expects name to be non-empty." (null counts as
  // empty), std::runtime_error "dp::Environment::Put() failed to putenv()." when the system refuses, the name
  // holds a '=', or name or value are not valid text. A call that throws changes nothing.
  static void Put(const std::wstring& name, const std::wstring& value);
  static void Put(const std::string& name, const std::string& value);
  static void Put(const char* name, const char* value);

  // True when the variable is set, also to an empty value. False for null and for an empty name. The name is
  // handed to the run-time as it is: on Windows only names in the system's code page are found.
  [[nodiscard]] static bool Test(const char* name);
};

}  // namespace dp

#endif
