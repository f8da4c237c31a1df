#include "lmkutils/os/name_case.h"

#include <new>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

std::string FoldName(std::string name) {
  std::wstring wide;
  if (win32::Widen(name, wide) != kSuccess) return name;
  CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  if (win32::Narrow(wide, name) != kSuccess) throw std::bad_alloc();
  return name;
}

}  // namespace os
