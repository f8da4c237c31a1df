// The at-exit tracker of the process.
#ifndef LMKUTILS_PLATFORM_INTERNAL_GLOBAL_TRACKER_H
#define LMKUTILS_PLATFORM_INTERNAL_GLOBAL_TRACKER_H

#include "lmkutils/platform/at_exit.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"

namespace dp::internal {

// Its lock is a leaf: while it is held nothing is traced, interned or taken from a pool, and no other lock
// is taken.
struct GlobalTracker {
  LazySpinLock lock;
  TrackerStackImpl stack;

  // Schedules `function` for the end of the process, or for the moment when the library is unloaded, and
  // registers one process-exit handler with the run-time library; each handler pops exactly one record, so
  // which call comes first is decided by longevity alone. `publish(argument)` runs under the same hold of
  // the lock, so that the call cannot come before it. Throws std::bad_alloc, nothing scheduled and nothing
  // published.
  void Schedule(unsigned longevity, AtExitFunction function, void (*publish)(void*) noexcept, void* argument);
};

// The one of the process; usable at any time.
GlobalTracker& GetGlobalTracker() noexcept;

}  // namespace dp::internal

#endif
