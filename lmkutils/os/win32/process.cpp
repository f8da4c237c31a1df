#include "lmkutils/os/process.h"

#include <exception>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

std::uint32_t ProcessId() noexcept {
  return GetCurrentProcessId();
}

SystemError ModulePath(std::string& out) noexcept {
  out.clear();
  HMODULE module = nullptr;
  constexpr DWORD flags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&ModulePath), &module)) return LastSystemError();
  try {
    // A path that does not fit is cut and the whole buffer reported as used.
    for (std::size_t size = MAX_PATH;; size *= 2) {
      std::wstring path(size, L'\0');
      const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(size));
      if (length == 0) return LastSystemError();
      if (length == size) continue;
      path.resize(length);
      return win32::Narrow(path, out);
    }
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace os
