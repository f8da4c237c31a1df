// Folders that the system keeps for the user. Paths in the system's own form, UTF-8.
#ifndef LMKUTILS_OS_USER_FOLDERS_H
#define LMKUTILS_OS_USER_FOLDERS_H

#include <string>

#include "lmkutils/os/system_error.h"

namespace os {

// 0, or a system error number and `out` empty. The folders need not exist.
SystemError DocumentsFolder(std::string& out) noexcept;
SystemError TemporaryFolder(std::string& out) noexcept;

}  // namespace os

#endif
