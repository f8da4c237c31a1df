// dp::Semaphore: a counter of units that threads wait for.
#ifndef LMKUTILS_PLATFORM_SEMAPHORE_H
#define LMKUTILS_PLATFORM_SEMAPHORE_H

#include "lmkutils/export.h"

namespace os {
struct Semaphore;
}

namespace dp {

// A counting semaphore with a maximum of 0x7FFFFFFF units. Any number of threads; a thread that was let
// through may destroy the semaphore at once, even while the thread that signalled is still inside Signal.
class LMK_API Semaphore {
 public:
  // Throws std::runtime_error "Cannot initialize semaphore.", also for more than 0x7FFFFFFF units.
  explicit Semaphore(unsigned initialCount = 0);

  // Nobody may wait.
  ~Semaphore();

  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  // Waits up to `milliseconds` for a unit: true when one was taken, false on time-out. 0 and 0xFFFFFFFF wait
  // without limit (use Poll for not waiting at all). Changes of the wall clock do not matter. Throws
  // std::runtime_error "Error waiting for semaphore".
  bool Wait(unsigned milliseconds);

  // Takes a unit if there is one. Throws std::runtime_error "Error polling semaphore".
  [[nodiscard]] bool Poll();

  // Adds `count` units; 0 does nothing. Past the maximum it throws std::runtime_error "Error signaling
  // semaphore" and changes nothing.
  void Signal(unsigned count);

  // Adds one unit; throws as Signal(count).
  void Signal();

 private:
  os::Semaphore* impl_;
};

}  // namespace dp

#endif
