// dp::SpinLock: the lock for short sections.
#ifndef LMKUTILS_PLATFORM_SPIN_LOCK_H
#define LMKUTILS_PLATFORM_SPIN_LOCK_H

#include <atomic>

#include "lmkutils/export.h"

namespace os {
struct Lock;
}

namespace dp {

class SpinLock;

namespace internal {
struct SpinLockAccess;

// The lock (spin count 500) that `slot` holds, created and installed by compare-and-swap on first use and
// never destroyed. Throws std::bad_alloc when it cannot be created; the next call tries again.
LMK_API SpinLock& InstalledLock(std::atomic<SpinLock*>& slot);

// For constructors: throws std::bad_alloc when there was no memory for `lock`, which must not be used then.
LMK_API void RequireUsable(const SpinLock& lock);
}  // namespace internal

// A lock that polls for a while before it lets the system put the thread to sleep: for sections of a few
// hundred instructions at most. Reentrant: the owner may lock again and must unlock as often. Any number of
// threads.
//
// One pointer in size; its storage comes from the run-time library's heap, so that it can guard allocators.
class LMK_API SpinLock {
 public:
  // `spinCount`: how often a busy lock is polled before the thread sleeps; negative counts as 0. When there
  // is no memory nothing is reported, and using the lock faults.
  explicit SpinLock(int spinCount = 500) noexcept;

  // The lock must be free.
  ~SpinLock();

  SpinLock(const SpinLock&) = delete;
  SpinLock& operator=(const SpinLock&) = delete;

  void Lock() noexcept;

  // True when entered without waiting.
  [[nodiscard]] bool TryLock() noexcept;

  // Only the owner may unlock.
  void Unlock() noexcept;

 private:
  friend struct internal::SpinLockAccess;

  os::Lock* impl_;
};

}  // namespace dp

#endif
