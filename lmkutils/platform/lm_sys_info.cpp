#include "lmkutils/platform/lm_sys_info.h"

#include "lmkutils/os/system_info.h"

namespace dp {

std::string LmSysInfo::GetOsName() {
  return os::QuerySystemVersion().name;
}

std::string LmSysInfo::GetOsVersion() {
  return os::QuerySystemVersion().version;
}

}  // namespace dp
