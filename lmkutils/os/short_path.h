// The 8.3 aliases of files, and text in the system's narrow encoding.
#ifndef LMKUTILS_OS_SHORT_PATH_H
#define LMKUTILS_OS_SHORT_PATH_H

#include <string>

#include "lmkutils/os/system_error.h"

namespace os {

// The path of an existing file with the aliases of its names, UTF-8; the path itself where there are none
// (Capabilities::shortPathsKnown). `out` is empty on failure.
SystemError ShortPath(const char* path, std::string& out) noexcept;

// `text`, UTF-8, in the encoding of narrow system calls. kErrorInvalidName when that lacks a character; `out`
// is empty then.
SystemError NativeText(const std::string& text, std::string& out) noexcept;

}  // namespace os

#endif
