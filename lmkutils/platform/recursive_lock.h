// dp::RecursiveLock: the lock that survives the death of its owner.
#ifndef LMKUTILS_PLATFORM_RECURSIVE_LOCK_H
#define LMKUTILS_PLATFORM_RECURSIVE_LOCK_H

#include "lmkutils/export.h"

namespace os {
struct Mutex;
}

namespace dp {

// A reentrant lock over a kernel mutex. Slower than SpinLock; unlike that one it reports wrong use, and a
// thread that ends while it holds the lock leaves it abandoned instead of locked for ever.
//
// Copies share one kernel object, which the destructor of either destroys: destroy only one of them.
// Assigning over a lock leaves the object that it had to its other holders.
class LMK_API RecursiveLock {
 public:
  // Throws std::runtime_error "Cannot initialize mutex.".
  RecursiveLock();
  ~RecursiveLock();
  RecursiveLock(const RecursiveLock&) noexcept = default;
  RecursiveLock& operator=(const RecursiveLock&) noexcept = default;

  // Waits without limit; takes an abandoned lock as any other.
  // Throws std::runtime_error "Error waiting for recursivelock".
  void Lock();

  // True when acquired, false when another thread holds it. Throws std::runtime_error "Error polling
  // recursivelock", also for an abandoned lock, which is then free.
  [[nodiscard]] bool TryLock();

  // Throws std::runtime_error "Error unlocking recursivelock" when the caller does not hold it.
  void Unlock();

 private:
  os::Mutex* impl_;
};

}  // namespace dp

#endif
