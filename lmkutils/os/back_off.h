// The pauses of a loop that polls what another thread is about to change.
#ifndef LMKUTILS_OS_BACK_OFF_H
#define LMKUTILS_OS_BACK_OFF_H

#include <algorithm>

#include "lmkutils/os/thread.h"

namespace os {

// The pauses grow, since each poll takes the polled word's cache line away from the thread that works with
// it; they end when they come to `spins` processor pauses in all.
class BackOff {
 public:
  explicit BackOff(unsigned spins) noexcept : left_(spins) {}

  // False, at once, when the spins are used up.
  bool Pause() noexcept {
    if (left_ == 0) return false;
    const unsigned spins = std::min(next_, left_);
    for (unsigned i = 0; i < spins; ++i) PauseProcessor();
    left_ -= spins;
    next_ = std::min(next_ * 2, kLongest);
    return true;
  }

 private:
  static constexpr unsigned kLongest = 16;

  unsigned left_;
  unsigned next_ = 1;
};

}  // namespace os

#endif
