#include "lmkutils/platform/internal/global_tracker.h"

#include <cstdlib>
#include <new>
#include <optional>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/take_back.h"

namespace dp::internal {
namespace {

constinit GlobalTracker tracker;

// Held during each exit call, so that they come one by one even if two threads end the process at once. Not
// the tracker's own lock: a call may wait for a thread that is about to schedule another one.
constinit LazySpinLock exitCallLock;

// Where the end of the process has killed all other threads, one of them may have held the lock: whoever
// waits there waits for ever. Elsewhere the holder still runs and lets go. Both locks exist since Schedule.
bool LockForTeardown(LazySpinLock& lock) noexcept {
  if (os::GetCapabilities().exitKillsThreads) return lock.TryLock();
  lock.Lock();
  return true;
}

std::optional<AtExitFunction> TakeNext() noexcept {
  if (!LockForTeardown(tracker.lock)) return std::nullopt;
  const std::optional<AtExitFunction> function = TakeBack(tracker.stack);
  tracker.lock.Unlock();
  return function;
}

// Called by the run-time library: nothing may be thrown through it.
void PopOne() noexcept {
  if (!LockForTeardown(exitCallLock)) return;
  try {
    const std::optional<AtExitFunction> function = TakeNext();
    if (function && *function != nullptr) (*function)();
  } catch (...) {  // an exit call's own failure; nobody is left to hear of it
  }
  exitCallLock.Unlock();
}

}  // namespace

GlobalTracker& GetGlobalTracker() noexcept {
  return tracker;
}

// The handler comes first: without it the record would be one too many, and a handler too many pops nothing.
// It comes before the lock too, since a thread may wait in std::atexit for the whole end of the process.
void GlobalTracker::Schedule(unsigned longevity, AtExitFunction function, void (*publish)(void*) noexcept,
                             void* argument) {
  exitCallLock.Get();
  if (std::atexit(PopOne) != 0) throw std::bad_alloc();
  const ScopedLock guard(lock);
  ScheduleAtExitCall(stack, longevity, function);
  publish(argument);
}

}  // namespace dp::internal
