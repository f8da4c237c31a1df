#include "lmkutils/os/environment.h"

#include <cstring>

#include <pthread.h>
#include <stdlib.h>

#include "lmkutils/os/fork_hooks.h"
#include "lmkutils/os/posix/environment_lock.h"

namespace os {
namespace posix {
namespace {

pthread_mutex_t environmentMutex = PTHREAD_MUTEX_INITIALIZER;

// A child process made while another thread is inside gets the lock free, and with it the run-time's own
// locks of the environment and of the zone, which fork does not free. Whoever adds hooks for a lock under
// which this one is taken must have looked at the environment before, so that fork takes the two in that
// order.
void AddForkHooksOnce() noexcept {
  static const bool added = AddForkHooks([]() noexcept { pthread_mutex_lock(&environmentMutex); },
                                         []() noexcept { pthread_mutex_unlock(&environmentMutex); });
  static_cast<void>(added);
}

}  // namespace

EnvironmentLock::EnvironmentLock() noexcept {
  AddForkHooksOnce();
  pthread_mutex_lock(&environmentMutex);
}

EnvironmentLock::~EnvironmentLock() {
  pthread_mutex_unlock(&environmentMutex);
}

}  // namespace posix

std::size_t ReadVariable(const wchar_t*, wchar_t*, std::size_t) noexcept {
  return 0;
}

std::size_t ReadVariable(const char* name, char* buffer, std::size_t size) noexcept {
  const posix::EnvironmentLock lock;
  const char* value = getenv(name);
  if (value == nullptr) return 0;
  const std::size_t needed = std::strlen(value) + 1;
  if (needed <= size) std::memcpy(buffer, value, needed);
  return needed;
}

bool WriteVariable(const wchar_t*, const wchar_t*) noexcept {
  return false;
}

bool WriteVariable(const char* name, const char* value) noexcept {
  const posix::EnvironmentLock lock;
  return (*value == '\0' ? unsetenv(name) : setenv(name, value, 1)) == 0;
}

}  // namespace os
