#include "lmkutils/os/win32/long_form.h"

#include <windows.h>

namespace os::win32 {

std::wstring LongForm(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(size == 0 ? 0 : GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  if (full.empty() || full.starts_with(LR"(\\?\)") || full.starts_with(LR"(\\.\)")) return full;
  if (full.starts_with(LR"(\\)")) return LR"(\\?\UNC)" + full.substr(1);
  return LR"(\\?\)" + full;
}

}  // namespace os::win32
