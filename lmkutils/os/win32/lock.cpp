#include "lmkutils/os/lock.h"

#include <new>

#include <windows.h>

#include "lmkutils/os/memory.h"

namespace os {

struct Lock {
  CRITICAL_SECTION section;
};

Lock* LockCreate(unsigned spinCount) noexcept {
  void* const storage = HeapAllocate(sizeof(Lock));
  if (storage == nullptr) return nullptr;
  Lock* const lock = new (storage) Lock;
  if (InitializeCriticalSectionAndSpinCount(&lock->section, spinCount) != FALSE) return lock;
  HeapFree(storage);
  return nullptr;
}

void LockDestroy(Lock* lock) noexcept {
  if (lock == nullptr) return;
  DeleteCriticalSection(&lock->section);
  HeapFree(lock);
}

void LockAcquire(Lock* lock) noexcept {
  EnterCriticalSection(&lock->section);
}

bool LockTryAcquire(Lock* lock) noexcept {
  return TryEnterCriticalSection(&lock->section) != FALSE;
}

void LockRelease(Lock* lock) noexcept {
  LeaveCriticalSection(&lock->section);
}

}  // namespace os
