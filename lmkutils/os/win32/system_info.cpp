#include "lmkutils/os/system_info.h"

#include <exception>

#include <windows.h>

namespace os {
namespace {

using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);

// GetVersionEx answers with the version that the program's manifest names, this with the true one.
bool TrueVersion(OSVERSIONINFOW& version) noexcept {
  version = {};
  version.dwOSVersionInfoSize = sizeof version;
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  const FARPROC found = ntdll ? GetProcAddress(ntdll, "RtlGetVersion") : nullptr;
  const auto rtlGetVersion = reinterpret_cast<RtlGetVersionFunction>(reinterpret_cast<void*>(found));
  return rtlGetVersion && rtlGetVersion(&version) == 0;
}

}  // namespace

const char* PlatformName() noexcept {
  return sizeof(void*) == 8 ? "windows-x64" : "windows-x86";
}

SystemVersion QuerySystemVersion() noexcept {
  SystemVersion system;
  OSVERSIONINFOW version;
  try {
    system.name = "Windows";
    if (!TrueVersion(version)) return system;
    system.version = std::to_string(version.dwMajorVersion) + '.' + std::to_string(version.dwMinorVersion) +
                     '.' + std::to_string(version.dwBuildNumber);
  } catch (const std::exception&) {
    // What was copied so far stays.
  }
  return system;
}

}  // namespace os
