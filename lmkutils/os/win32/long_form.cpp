#include "lmkutils/os/win32/long_form.h"

#include <windows.h>

namespace os::win32 {

// What has the form is not completed again: that would take a '.' or blank at the end of a name off.
std::wstring LongForm(const std::wstring& path) {
  if (path.starts_with(LR"(\\?\)")) return path;
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(size == 0 ? 0 : GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  if (full.empty() || full.starts_with(LR"(\\.\)")) return full;
  if (full.starts_with(LR"(\\)")) return LR"(\\?\UNC)" + full.substr(1);
  return LR"(\\?\)" + full;
}

}  // namespace os::win32
