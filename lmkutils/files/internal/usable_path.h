// What every operation on paths does before and around its call of the system.
#ifndef LMKUTILS_FILES_INTERNAL_USABLE_PATH_H
#define LMKUTILS_FILES_INTERNAL_USABLE_PATH_H

#include <string>
#include <string_view>

#include "lmkutils/os/system_error.h"

namespace du::internal {

// Whether the system can be given the path at all: not empty, UTF-8, no NUL inside, which would hide the rest
// of it. Otherwise the reason is left behind as the system's last error, and traced but for the empty path.
bool IsUsablePath(const std::string& path) noexcept;

// The long form of the path when trying that after the plain path makes sense on this system; else empty.
// Keeps the last error. Throws std::bad_alloc.
std::string OtherFormToTry(const std::string& path, bool isFile);

inline std::string_view TextOf(const char* text) noexcept {
  return text != nullptr ? std::string_view(text) : std::string_view();
}

// Calls `operation`, which takes a path and returns an os::SystemError, with the plain path and, when that
// fails, once more with the long form. When both fail the first error stands, as result and as last error.
template <class Operation>
os::SystemError TryPath(const std::string& path, bool isFile, Operation operation) {
  if (!IsUsablePath(path)) return os::LastSystemError();
  const os::SystemError error = operation(path.c_str());
  if (error == os::kSuccess) return error;
  const std::string longForm = OtherFormToTry(path, isFile);
  if (!longForm.empty() && operation(longForm.c_str()) == os::kSuccess) return os::kSuccess;
  os::SetLastSystemError(error);
  return error;
}

}  // namespace du::internal

#endif
