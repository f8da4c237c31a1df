// The one lock around the process environment. setenv may move what getenv looks at, and the conversions to
// local time call getenv themselves (for TZ): whoever touches either holds this.
#ifndef LMKUTILS_OS_POSIX_ENVIRONMENT_LOCK_H
#define LMKUTILS_OS_POSIX_ENVIRONMENT_LOCK_H

namespace os::posix {

// Holds the lock for the length of a scope. A leaf: nothing else is locked under it. Usable from the first
// static initialisation to the very end of the process.
class EnvironmentLock {
 public:
  EnvironmentLock() noexcept;
  EnvironmentLock(const EnvironmentLock&) = delete;
  EnvironmentLock& operator=(const EnvironmentLock&) = delete;
  ~EnvironmentLock();
};

}  // namespace os::posix

#endif
