#include "lmkutils/os/semaphore.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "lmkutils/os/memory.h"
#include "lmkutils/os/posix/futex.h"

namespace os {

// Units and waiters share one word. A signal is thus complete with one compare-and-swap: it learns from the
// same word whether anybody is to be woken, and afterwards uses the semaphore's address only.
struct Semaphore {
  Semaphore(std::uint32_t initial, std::uint32_t limit) noexcept : word(initial), maximum(limit) {}

  std::atomic<std::uint64_t> word;
  const std::uint32_t maximum;
};

namespace {

constexpr std::uint64_t kOneWaiter = std::uint64_t{1} << 32;

constexpr std::uint32_t UnitsOf(std::uint64_t word) noexcept {
  return static_cast<std::uint32_t>(word);
}
constexpr std::uint32_t WaitersOf(std::uint64_t word) noexcept {
  return static_cast<std::uint32_t>(word >> 32);
}

// Takes a unit, and `also` from the word in the same step; false when there is no unit.
bool Take(Semaphore& semaphore, std::uint64_t also) noexcept {
  std::uint64_t seen = semaphore.word.load(std::memory_order_relaxed);
  while (UnitsOf(seen) != 0) {
    if (semaphore.word.compare_exchange_weak(seen, seen - 1 - also, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
      return true;
    }
  }
  return false;
}

// A waiter that gives up: takes a unit if one has come in the meantime, else only its place among the
// waiters.
bool TakeOrLeave(Semaphore& semaphore) noexcept {
  std::uint64_t seen = semaphore.word.load(std::memory_order_relaxed);
  for (;;) {
    const bool unit = UnitsOf(seen) != 0;
    if (semaphore.word.compare_exchange_weak(seen, seen - kOneWaiter - (unit ? 1 : 0),
                                             std::memory_order_acquire, std::memory_order_relaxed)) {
      return unit;
    }
  }
}

[[gnu::noinline]] WaitResult Sleep(Semaphore& semaphore, std::uint32_t milliseconds) noexcept {
  const timespec deadline = DeadlineIn(milliseconds);
  semaphore.word.fetch_add(kOneWaiter, std::memory_order_relaxed);
  while (!Take(semaphore, kOneWaiter)) {
    const FutexResult result = FutexWait(&semaphore.word, 0, milliseconds == kInfinite ? nullptr : &deadline);
    if (result == FutexResult::kWoken) continue;
    if (TakeOrLeave(semaphore)) break;
    return result == FutexResult::kTimedOut ? WaitResult::kTimedOut : WaitResult::kFailed;
  }
  return WaitResult::kAcquired;
}

}  // namespace

Semaphore* SemaphoreCreate(std::uint32_t initial, std::uint32_t maximum) noexcept {
  if (maximum == 0 || maximum > kSemaphoreMaximum || initial > maximum) return nullptr;
  void* const storage = HeapAllocate(sizeof(Semaphore));
  return storage == nullptr ? nullptr : new (storage) Semaphore(initial, maximum);
}

void SemaphoreDestroy(Semaphore* semaphore) noexcept {
  HeapFree(semaphore);
}

WaitResult SemaphoreWait(Semaphore* semaphore, std::uint32_t milliseconds) noexcept {
  if (Take(*semaphore, 0)) return WaitResult::kAcquired;
  return milliseconds == 0 ? WaitResult::kTimedOut : Sleep(*semaphore, milliseconds);
}

bool SemaphoreSignal(Semaphore* semaphore, std::uint32_t count) noexcept {
  if (count == 0) return false;
  std::uint64_t seen = semaphore->word.load(std::memory_order_relaxed);
  do {
    if (count > semaphore->maximum - UnitsOf(seen)) return false;
  } while (!semaphore->word.compare_exchange_weak(seen, seen + count, std::memory_order_release,
                                                  std::memory_order_relaxed));
  const std::uint32_t waiters = WaitersOf(seen);
  if (waiters != 0) FutexWake(&semaphore->word, std::min(count, waiters));
  return true;
}

}  // namespace os
