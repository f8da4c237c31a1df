#include "lmkutils/os/environment.h"

#include <atomic>
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
// locks of the environment and of the zone, which fork does not free.
// No static that is initialised at run time: a child made while another thread initialises it would wait for
// that thread.
void AddForkHooksOnce() noexcept {
  static constinit std::atomic<bool> isAdded{false};
  if (isAdded.load(std::memory_order_relaxed) || isAdded.exchange(true)) return;
  constexpr ForkHook unlock = []() noexcept { pthread_mutex_unlock(&environmentMutex); };
  AddForkHooks(ForkRank::kInner, {[]() noexcept { pthread_mutex_lock(&environmentMutex); }, unlock, unlock});
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
