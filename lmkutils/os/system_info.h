// The operating system that the process runs on, and the target that the library was built for.
#ifndef LMKUTILS_OS_SYSTEM_INFO_H
#define LMKUTILS_OS_SYSTEM_INFO_H

#include <string>

namespace os {

// "windows-x86", "windows-x64", "linux-x64", ...: system and processor of this build.
const char* PlatformName() noexcept;

struct SystemVersion {
  std::string name;     // "Windows", "Linux"
  std::string version;  // as the system reports it: "10.0.19045", "6.1.0-18-amd64"
};

// Parts that the system does not tell, or that there is no memory for, are empty.
SystemVersion QuerySystemVersion() noexcept;

}  // namespace os

#endif
