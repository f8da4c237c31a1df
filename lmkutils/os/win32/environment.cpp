#include "lmkutils/os/environment.h"

#include <cstring>

#include <stdlib.h>
#include <wchar.h>
#include <windows.h>

#include "lmkutils/os/win32/environment_lock.h"

namespace os {
namespace win32 {
namespace {

SRWLOCK environmentLock = SRWLOCK_INIT;

}  // namespace

EnvironmentLock::EnvironmentLock() noexcept {
  AcquireSRWLockExclusive(&environmentLock);
}

EnvironmentLock::~EnvironmentLock() {
  ReleaseSRWLockExclusive(&environmentLock);
}

}  // namespace win32

// The run-time's results are not looked at: a query of the size alone is answered with an error too (34), but
// with the right size.
std::size_t ReadVariable(const wchar_t* name, wchar_t* buffer, std::size_t size) noexcept {
  const win32::EnvironmentLock lock;
  std::size_t needed = 0;
  _wgetenv_s(&needed, size == 0 ? nullptr : buffer, size, name);
  return needed;
}

std::size_t ReadVariable(const char* name, char* buffer, std::size_t size) noexcept {
  const win32::EnvironmentLock lock;
  std::size_t needed = 0;
  getenv_s(&needed, size == 0 ? nullptr : buffer, size, name);
  return needed;
}

// '=' is refused here: the run-time would take what follows it for the value.
bool WriteVariable(const wchar_t* name, const wchar_t* value) noexcept {
  const win32::EnvironmentLock lock;
  return *name != L'\0' && wcschr(name, L'=') == nullptr && _wputenv_s(name, value) == 0;
}

bool WriteVariable(const char* name, const char* value) noexcept {
  const win32::EnvironmentLock lock;
  return *name != '\0' && std::strchr(name, '=') == nullptr && _putenv_s(name, value) == 0;
}

}  // namespace os
