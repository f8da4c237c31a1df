// The process that the library is part of.
#ifndef LMKUTILS_OS_PROCESS_H
#define LMKUTILS_OS_PROCESS_H

#include <cstdint>
#include <string>

#include "lmkutils/os/system_error.h"

namespace os {

// The identifier that the system shows for this process.
std::uint32_t ProcessId() noexcept;

// Path of the file that this code was loaded from: the shared library, or the program that was linked from
// its objects. Absolute, UTF-8, in the system's form. 0, or a system error number and `out` empty.
[[nodiscard]] SystemError ModulePath(std::string& out) noexcept;

}  // namespace os

#endif
