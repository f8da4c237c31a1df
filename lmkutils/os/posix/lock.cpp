#include "lmkutils/os/lock.h"

#include <atomic>
#include <new>

#include "lmkutils/os/back_off.h"
#include "lmkutils/os/memory.h"
#include "lmkutils/os/posix/futex.h"
#include "lmkutils/os/posix/thread_token.h"

namespace os {

// The uncontended pair is one compare-and-swap and one exchange of the owner's token. The kernel watches the
// word's lower half; should that be the same for two owners, both hold an awaited lock, and sleeping is
// right.
struct Lock {
  explicit Lock(unsigned spins) noexcept : spinCount(spins) {}

  std::atomic<std::uintptr_t> word{0};  // the owner's token, or 0; and kAwaited
  unsigned depth = 0;                   // acquisitions beyond the first; the owner's
  const unsigned spinCount;
};

namespace {

constexpr std::uintptr_t kAwaited = 1;  // the release wakes a thread

bool Take(Lock& lock, std::uintptr_t as) noexcept {
  std::uintptr_t nobody = 0;
  return lock.word.compare_exchange_strong(nobody, as, std::memory_order_acquire, std::memory_order_relaxed);
}

// Whoever has slept takes the lock as awaited, since others may sleep still; at worst one wake-up finds
// nobody.
void Sleep(Lock& lock, std::uintptr_t self) noexcept {
  std::uintptr_t seen = lock.word.load(std::memory_order_relaxed);
  for (;;) {
    if (seen == 0) {
      if (Take(lock, self | kAwaited)) return;
    } else if ((seen & kAwaited) != 0 ||
               lock.word.compare_exchange_strong(seen, seen | kAwaited, std::memory_order_relaxed)) {
      FutexWait(&lock.word, static_cast<std::uint32_t>(seen | kAwaited));
    }
    seen = lock.word.load(std::memory_order_relaxed);
  }
}

// Out of line, so that the fast way stays short.
[[gnu::noinline]] void AcquireHeld(Lock& lock, std::uintptr_t self) noexcept {
  if ((lock.word.load(std::memory_order_relaxed) & ~kAwaited) == self) {
    ++lock.depth;
    return;
  }
  for (BackOff backOff(lock.spinCount); backOff.Pause();)
    if (lock.word.load(std::memory_order_relaxed) == 0 && Take(lock, self)) return;
  Sleep(lock, self);
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
  const std::uintptr_t self = ThreadToken();
  if (!Take(*lock, self)) AcquireHeld(*lock, self);
}

bool LockTryAcquire(Lock* lock) noexcept {
  const std::uintptr_t self = ThreadToken();
  const std::uintptr_t seen = lock->word.load(std::memory_order_relaxed);
  if (seen == 0) return Take(*lock, self);
  if ((seen & ~kAwaited) != self) return false;
  ++lock->depth;
  return true;
}

// After the exchange the next owner may run and destroy the lock: only its address is used then, and waking
// an address where nobody waits is harmless.
void LockRelease(Lock* lock) noexcept {
  if (lock->depth != 0) {
    --lock->depth;
  } else if ((lock->word.exchange(0, std::memory_order_release) & kAwaited) != 0) {
    FutexWake(&lock->word, 1);
  }
}

}  // namespace os
