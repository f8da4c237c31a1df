#include "lmkutils/os/semaphore.h"

#include <new>

#include <windows.h>

#include "lmkutils/os/memory.h"

namespace os {

static_assert(kInfinite == INFINITE);

struct Semaphore {
  HANDLE handle;
};

Semaphore* SemaphoreCreate(std::uint32_t initial, std::uint32_t maximum) noexcept {
  if (maximum > kSemaphoreMaximum || initial > maximum) return nullptr;
  void* const storage = HeapAllocate(sizeof(Semaphore));
  if (storage == nullptr) return nullptr;
  const HANDLE handle =
      CreateSemaphoreA(nullptr, static_cast<LONG>(initial), static_cast<LONG>(maximum), nullptr);
  if (handle != nullptr) return new (storage) Semaphore{handle};
  HeapFree(storage);
  return nullptr;
}

void SemaphoreDestroy(Semaphore* semaphore) noexcept {
  if (semaphore == nullptr) return;
  CloseHandle(semaphore->handle);
  HeapFree(semaphore);
}

WaitResult SemaphoreWait(Semaphore* semaphore, std::uint32_t milliseconds) noexcept {
  switch (WaitForSingleObject(semaphore->handle, milliseconds)) {
    case WAIT_OBJECT_0:
      return WaitResult::kAcquired;
    case WAIT_TIMEOUT:
      return WaitResult::kTimedOut;
    default:
      return WaitResult::kFailed;
  }
}

bool SemaphoreSignal(Semaphore* semaphore, std::uint32_t count) noexcept {
  if (count > kSemaphoreMaximum) return false;
  return ReleaseSemaphore(semaphore->handle, static_cast<LONG>(count), nullptr) != FALSE;
}

}  // namespace os
