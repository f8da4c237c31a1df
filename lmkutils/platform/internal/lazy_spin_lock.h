// A spin lock for static storage.
#ifndef LMKUTILS_PLATFORM_INTERNAL_LAZY_SPIN_LOCK_H
#define LMKUTILS_PLATFORM_INTERNAL_LAZY_SPIN_LOCK_H

#include <atomic>

#include "lmkutils/platform/spin_lock.h"

namespace dp::internal {

// Constant-initialised, created on first use (spin count 500), never destroyed: usable before the first
// static constructor and after the last static destructor.
class LazySpinLock {
 public:
  constexpr LazySpinLock() noexcept = default;
  LazySpinLock(const LazySpinLock&) = delete;
  LazySpinLock& operator=(const LazySpinLock&) = delete;

  // Throws std::bad_alloc when it cannot be created; never after it has once succeeded.
  SpinLock& Get() { return InstalledLock(slot_); }

  void Lock() { Get().Lock(); }  // throws as Get
  [[nodiscard]] bool TryLock() { return Get().TryLock(); }
  void Unlock() noexcept { slot_.load(std::memory_order_relaxed)->Unlock(); }

 private:
  std::atomic<SpinLock*> slot_{nullptr};
};

}  // namespace dp::internal

#endif
