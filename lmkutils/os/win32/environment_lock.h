// The one lock around the process environment. The run-time's own functions are not enough: some versions
// (Wine's among them) replace the whole table at each change while others walk through it.
#ifndef LMKUTILS_OS_WIN32_ENVIRONMENT_LOCK_H
#define LMKUTILS_OS_WIN32_ENVIRONMENT_LOCK_H

namespace os::win32 {

// Holds the lock for the length of a scope. A leaf: nothing else is locked under it. Usable from the first
// static initialisation; not at the end of the process, when its holder may have been killed.
class EnvironmentLock {
 public:
  EnvironmentLock() noexcept;
  EnvironmentLock(const EnvironmentLock&) = delete;
  EnvironmentLock& operator=(const EnvironmentLock&) = delete;
  ~EnvironmentLock();
};

}  // namespace os::win32

#endif
