#include "lmkutils/os/system_info.h"

#include <exception>

#include <sys/utsname.h>

namespace os {

#if defined(__x86_64__)
const char* PlatformName() noexcept {
  return "linux-x64";
}
#elif defined(__i386__)
const char* PlatformName() noexcept {
  return "linux-x86";
}
#elif defined(__aarch64__)
const char* PlatformName() noexcept {
  return "linux-arm64";
}
#else
const char* PlatformName() noexcept {
  return "linux";
}
#endif

SystemVersion QuerySystemVersion() noexcept {
  SystemVersion system;
  utsname names;
  if (uname(&names) != 0) return system;
  try {
    system.name = names.sysname;
    system.version = names.release;
  } catch (const std::exception&) {
    // What was copied so far stays.
  }
  return system;
}

}  // namespace os
