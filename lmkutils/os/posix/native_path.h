// Paths as this system takes them.
#ifndef LMKUTILS_OS_POSIX_NATIVE_PATH_H
#define LMKUTILS_OS_POSIX_NATIVE_PATH_H

#include <algorithm>
#include <string>
#include <string_view>

namespace os::posix {

// The library's texts may hold '\' as a separator and begin with "\\?\": neither means anything here. Throws
// std::bad_alloc.
inline std::string NativePath(std::string_view path) {
  constexpr std::string_view kLongForm = R"(\\?\)";
  if (path.substr(0, kLongForm.size()) == kLongForm) path.remove_prefix(kLongForm.size());
  std::string native(path);
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

}  // namespace os::posix

#endif
