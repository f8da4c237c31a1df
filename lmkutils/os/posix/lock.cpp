#include "lmkutils/os/lock.h"

#include <atomic>
#include <new>

#include "lmkutils/os/memory.h"
#include "lmkutils/os/posix/futex.h"
#include "lmkutils/os/thread.h"

namespace os {

// The uncontended pair is one compare-and-swap and one exchange. `owner` is written by the owner only, so a
// thread that reads its own token there is the owner, whatever else it may read.
struct Lock {
  explicit Lock(unsigned spins) noexcept : spinCount(spins) {}

  std::atomic<std::uint32_t> state{kFree};
  const unsigned spinCount;
  std::atomic<std::uintptr_t> owner{0};
  unsigned depth = 0;  // acquisitions beyond the first; the owner's

  static constexpr std::uint32_t kFree = 0;
  static constexpr std::uint32_t kHeld = 1;
  static constexpr std::uint32_t kHeldAndAwaited = 2;  // its release wakes a thread
};

namespace {

bool Take(Lock& lock, std::uint32_t as) noexcept {
  std::uint32_t expected = Lock::kFree;
  return lock.state.load(std::memory_order_relaxed) == expected &&
         lock.state.compare_exchange_strong(expected, as, std::memory_order_acquire,
                                            std::memory_order_relaxed);
}

// Out of line, so that the fast way stays short. Whoever has slept takes the lock as awaited, since others
// may sleep still; at worst one wake-up finds nobody.
[[gnu::noinline]] void TakeContended(Lock& lock) noexcept {
  for (unsigned tries = lock.spinCount; tries != 0; --tries) {
    PauseProcessor();
    if (Take(lock, Lock::kHeld)) return;
  }
  while (lock.state.exchange(Lock::kHeldAndAwaited, std::memory_order_acquire) != Lock::kFree) {
    FutexWait(&lock.state, Lock::kHeldAndAwaited);
  }
}

}  // namespace

Lock* LockCreate(unsigned spinCount) noexcept {
  void* const storage = HeapAllocate(sizeof(Lock));
  return storage == nullptr ? nullptr : new (storage) Lock(spinCount);
}

void LockDestroy(Lock* lock) noexcept {
  HeapFree(lock);
}

void LockAcquire(Lock* lock) noexcept {
  const std::uintptr_t self = CurrentThreadToken();
  std::uint32_t expected = Lock::kFree;
  if (!lock->state.compare_exchange_strong(expected, Lock::kHeld, std::memory_order_acquire,
                                           std::memory_order_relaxed)) {
    if (lock->owner.load(std::memory_order_relaxed) == self) {
      ++lock->depth;
      return;
    }
    TakeContended(*lock);
  }
  lock->owner.store(self, std::memory_order_relaxed);
}

bool LockTryAcquire(Lock* lock) noexcept {
  const std::uintptr_t self = CurrentThreadToken();
  if (lock->owner.load(std::memory_order_relaxed) == self) {
    ++lock->depth;
    return true;
  }
  if (!Take(*lock, Lock::kHeld)) return false;
  lock->owner.store(self, std::memory_order_relaxed);
  return true;
}

// After the exchange the next owner may run and destroy the lock: only its address is used then, and waking
// an address where nobody waits is harmless.
void LockRelease(Lock* lock) noexcept {
  if (lock->depth != 0) {
    --lock->depth;
    return;
  }
  lock->owner.store(0, std::memory_order_relaxed);
  if (lock->state.exchange(Lock::kFree, std::memory_order_release) == Lock::kHeldAndAwaited) {
    FutexWake(&lock->state, 1);
  }
}

}  // namespace os
