#ifndef LMKUTILS_PLATFORM_LM_SYS_INFO_H
#define LMKUTILS_PLATFORM_LM_SYS_INFO_H

#include <string>

#include "lmkutils/export.h"

namespace dp {

// The operating system under the process, as a trace or a support engineer wants it named. Any thread, at any
// time; the system is asked at each call.
class LMK_API LmSysInfo {
 public:
  // "Windows" or "Linux"; empty when the system does not tell.
  static std::string GetOsName();
  // As the system reports it, whatever version a program's manifest asks for: "10.0.19045", "6.1.0-18-amd64";
  // empty when the system does not tell.
  static std::string GetOsVersion();
};

}  // namespace dp

#endif
