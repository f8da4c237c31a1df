#include "lmkutils/os/short_path.h"

#include <exception>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

SystemError ShortPath(const char* path, std::string& out) noexcept {
  out.clear();
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(path, wide)) return error;
    std::wstring alias(MAX_PATH, L'\0');
    for (;;) {
      const DWORD length = GetShortPathNameW(wide.c_str(), alias.data(), static_cast<DWORD>(alias.size()));
      if (length == 0) return GetLastError();
      const bool fits = length < alias.size();
      alias.resize(length);
      if (fits) return win32::Narrow(alias, out);
    }
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError NativeText(const std::string& text, std::string& out) noexcept {
  out.clear();
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(text, wide)) return error;
    if (GetACP() == CP_UTF8) {  // the call below takes none of its options then
      out = text;
      return kSuccess;
    }
    const int length = static_cast<int>(wide.size());
    BOOL replaced = FALSE;
    const int size = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), length, nullptr, 0,
                                         nullptr, &replaced);
    if (replaced != FALSE || (size == 0 && length != 0)) return kErrorInvalidName;
    out.resize(static_cast<std::size_t>(size));
    WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), length, out.data(), size, nullptr,
                        nullptr);
    return kSuccess;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace os
