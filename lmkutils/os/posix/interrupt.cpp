#include "lmkutils/os/interrupt.h"

#include <atomic>

#include <signal.h>

namespace os {
namespace {

constinit std::atomic<bool> isInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void Note(int) noexcept {
  isInterrupted.store(true, std::memory_order_relaxed);
}

}  // namespace

bool CatchInterrupt() noexcept {
  struct sigaction former;
  if (sigaction(SIGINT, nullptr, &former) != 0) return false;
  if (former.sa_handler == SIG_IGN) return true;
  struct sigaction action {};
  action.sa_handler = Note;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  return sigaction(SIGINT, &action, nullptr) == 0;
}

bool IsInterrupted() noexcept {
  return isInterrupted.load(std::memory_order_relaxed);
}

}  // namespace os
