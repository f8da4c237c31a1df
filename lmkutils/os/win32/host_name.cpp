#include "lmkutils/os/host_name.h"

#include <new>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

std::string HostName() {
  wchar_t name[256];
  DWORD length = 256;
  std::string narrow;
  if (GetComputerNameExW(ComputerNameDnsHostname, name, &length) == 0) return narrow;
  if (win32::Narrow({name, length}, narrow) != kSuccess) throw std::bad_alloc();
  return narrow;
}

}  // namespace os
