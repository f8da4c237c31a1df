#include "lmkutils/os/interrupt.h"

#include <atomic>

#include <windows.h>

namespace os {
namespace {

constinit std::atomic<bool> isInterrupted{false};

// On a thread of the system's own. FALSE leaves the event to the default handler, which ends the process.
BOOL WINAPI Note(DWORD event) noexcept {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  return isInterrupted.exchange(true, std::memory_order_relaxed) ? FALSE : TRUE;
}

}  // namespace

bool CatchInterrupt() noexcept {
  return SetConsoleCtrlHandler(Note, TRUE) != FALSE;
}

bool IsInterrupted() noexcept {
  return isInterrupted.load(std::memory_order_relaxed);
}

}  // namespace os
