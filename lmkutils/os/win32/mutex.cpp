#include "lmkutils/os/mutex.h"

#include <new>

#include <windows.h>

#include "lmkutils/os/memory.h"

namespace os {

struct Mutex {
  HANDLE handle;
};

namespace {

MutexResult Wait(const Mutex& mutex, DWORD milliseconds) noexcept {
  switch (WaitForSingleObject(mutex.handle, milliseconds)) {
    case WAIT_OBJECT_0:
      return MutexResult::kAcquired;
    case WAIT_ABANDONED:
      return MutexResult::kAbandoned;
    case WAIT_TIMEOUT:
      return MutexResult::kBusy;
    default:
      return MutexResult::kFailed;
  }
}

}  // namespace

Mutex* MutexCreate() noexcept {
  void* const storage = HeapAllocate(sizeof(Mutex));
  if (storage == nullptr) return nullptr;
  const HANDLE handle = CreateMutexA(nullptr, FALSE, nullptr);
  if (handle != nullptr) return new (storage) Mutex{handle};
  HeapFree(storage);
  return nullptr;
}

void MutexDestroy(Mutex* mutex) noexcept {
  if (mutex == nullptr) return;
  CloseHandle(mutex->handle);
  HeapFree(mutex);
}

MutexResult MutexAcquire(Mutex* mutex) noexcept {
  return Wait(*mutex, INFINITE);
}

MutexResult MutexTryAcquire(Mutex* mutex) noexcept {
  return Wait(*mutex, 0);
}

bool MutexRelease(Mutex* mutex) noexcept {
  return ReleaseMutex(mutex->handle) != FALSE;
}

}  // namespace os
