// dp::WaitLock: a lock that any thread may release.
#ifndef LMKUTILS_PLATFORM_WAIT_LOCK_H
#define LMKUTILS_PLATFORM_WAIT_LOCK_H

#include "lmkutils/export.h"

namespace os {
struct Semaphore;
}

namespace dp {

// A lock without an owner: a semaphore of one unit, free at first. One thread may lock and another unlock,
// so it also serves to wait for an event. Not reentrant: a second Lock by the holder waits for ever.
//
// Copies share one kernel object, which the destructor of either destroys: destroy only one of them.
// Assigning over a lock leaves the object that it had to its other holders.
class LMK_API WaitLock {
 public:
  // Throws std::runtime_error "Cannot initialize semaphore.".
  WaitLock();
  ~WaitLock();
  WaitLock(const WaitLock&) noexcept = default;
  WaitLock& operator=(const WaitLock&) noexcept = default;

  // Waits without limit. Throws std::runtime_error "Error waiting for semaphore".
  void Lock();

  // True when taken. Throws std::runtime_error "Error polling semaphore".
  [[nodiscard]] bool TryLock();

  // Any thread. Throws std::runtime_error "Error signaling semaphore" when the lock is free.
  void Unlock();

 private:
  os::Semaphore* impl_;
};

}  // namespace dp

#endif
