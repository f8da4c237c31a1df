#include "lmkutils/platform/spin_lock.h"

#include <algorithm>
#include <new>

#include "lmkutils/os/lock.h"
#include "lmkutils/os/memory.h"

namespace dp {

SpinLock::SpinLock(int spinCount) noexcept
    : impl_(os::LockCreate(static_cast<unsigned>(std::max(spinCount, 0)))) {}

SpinLock::~SpinLock() {
  os::LockDestroy(impl_);
}

void SpinLock::Lock() noexcept {
  os::LockAcquire(impl_);
}

bool SpinLock::TryLock() noexcept {
  return os::LockTryAcquire(impl_);
}

void SpinLock::Unlock() noexcept {
  os::LockRelease(impl_);
}

namespace internal {

// Not a friend function: MinGW refuses the friend declaration of a function that is imported from a DLL.
struct SpinLockAccess {
  static bool IsUsable(const SpinLock& lock) { return lock.impl_ != nullptr; }
};

SpinLock& InstalledLock(std::atomic<SpinLock*>& slot) {
  if (SpinLock* const installed = slot.load(std::memory_order_acquire)) return *installed;

  void* const storage = os::HeapAllocate(sizeof(SpinLock));
  if (storage == nullptr) throw std::bad_alloc();
  SpinLock* const fresh = new (storage) SpinLock(500);
  SpinLock* winner = nullptr;
  const bool usable = SpinLockAccess::IsUsable(*fresh);
  if (usable && slot.compare_exchange_strong(winner, fresh, std::memory_order_acq_rel)) return *fresh;
  fresh->~SpinLock();
  os::HeapFree(storage);
  if (!usable) throw std::bad_alloc();
  return *winner;
}

void RequireUsable(const SpinLock& lock) {
  if (!SpinLockAccess::IsUsable(lock)) throw std::bad_alloc();
}

}  // namespace internal
}  // namespace dp
