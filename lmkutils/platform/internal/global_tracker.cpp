#include "lmkutils/platform/internal/global_tracker.h"

#include <cstdlib>
#include <new>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/platform/internal/scoped_lock.h"

namespace dp::internal {
namespace {

constinit GlobalTracker tracker;

// Where the end of the process has killed all other threads, one of them may have held the lock: whoever
// waits there waits for ever. Elsewhere the holder still runs and lets go.
bool LockForTeardown() {
  if (os::GetCapabilities().exitKillsThreads) return tracker.lock.TryLock();
  tracker.lock.Lock();
  return true;
}

// Called by the run-time library: nothing may be thrown through it.
void PopOne() {
  try {
    if (!LockForTeardown()) return;
  } catch (...) {
    return;
  }
  try {
    PopBack(tracker.stack);
  } catch (...) {  // an exit call's own failure; nobody is left to hear of it
  }
  tracker.lock.Unlock();
}

}  // namespace

GlobalTracker& GetGlobalTracker() noexcept {
  return tracker;
}

// The handler comes first: without it the record would be one too many, and a handler too many pops nothing.
void GlobalTracker::Schedule(unsigned longevity, AtExitFunction function, void (*publish)(void*) noexcept,
                             void* argument) {
  const ScopedLock guard(lock);
  if (std::atexit(PopOne) != 0) throw std::bad_alloc();
  ScheduleAtExitCall(stack, longevity, function);
  publish(argument);
}

}  // namespace dp::internal
