// The exit calls of one thread.
#ifndef LMKUTILS_PLATFORM_INTERNAL_EXIT_CALLS_H
#define LMKUTILS_PLATFORM_INTERNAL_EXIT_CALLS_H

#include <optional>

#include "lmkutils/platform/at_exit.h"
#include "lmkutils/platform/internal/take_back.h"
#include "lmkutils/platform/object_level_lockable.h"

namespace dp::internal {

// An at-exit tracker with a lock of its own. What is scheduled and never runs is dropped with it.
class ThreadLifeTimeTracker : public ObjectLevelLockable<ThreadLifeTimeTracker*> {
 public:
  ThreadLifeTimeTracker() = default;
  ~ThreadLifeTimeTracker() override { Clear(tracker_); }

  void Schedule(unsigned longevity, AtExitFunction function) {
    const Guard guard(*this);
    ScheduleAtExitCall(tracker_, longevity, function);
  }

  void Cancel(AtExitFunction function) noexcept {
    const Guard guard(*this);
    CancelAtExitCall(tracker_, function);
  }

  // Takes the call whose turn it is; the caller makes it, since it may wait for a thread that needs the
  // lock.
  std::optional<AtExitFunction> Take() noexcept {
    const Guard guard(*this);
    return TakeBack(tracker_);
  }

 private:
  TrackerStackImpl tracker_;
};

}  // namespace dp::internal

#endif
