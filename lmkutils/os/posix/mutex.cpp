#include "lmkutils/os/mutex.h"

#include <cerrno>
#include <new>

#include <pthread.h>

#include "lmkutils/os/memory.h"

namespace os {

struct Mutex {
  pthread_mutex_t native;
};

namespace {

int InitRobustRecursive(pthread_mutex_t& mutex) noexcept {
  pthread_mutexattr_t attributes;
  if (const int error = pthread_mutexattr_init(&attributes)) return error;
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  const int error = pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return error;
}

// An abandoned mutex is made whole at once; what the dead owner left half done is the callers' business, as
// on Windows.
MutexResult ResultOf(Mutex& mutex, int error) noexcept {
  switch (error) {
    case 0:
      return MutexResult::kAcquired;
    case EBUSY:
      return MutexResult::kBusy;
    case EOWNERDEAD:
      return pthread_mutex_consistent(&mutex.native) == 0 ? MutexResult::kAbandoned : MutexResult::kFailed;
    default:
      return MutexResult::kFailed;
  }
}

}  // namespace

Mutex* MutexCreate() noexcept {
  void* const storage = HeapAllocate(sizeof(Mutex));
  if (storage == nullptr) return nullptr;
  Mutex* const mutex = new (storage) Mutex;
  if (InitRobustRecursive(mutex->native) == 0) return mutex;
  HeapFree(storage);
  return nullptr;
}

// A robust mutex stands in a list of the thread that holds it, and freed storage must not: what the caller
// still holds is released first, and what another thread holds is leaked.
void MutexDestroy(Mutex* mutex) noexcept {
  if (mutex == nullptr || MutexTryAcquire(mutex) == MutexResult::kBusy) return;
  while (MutexRelease(mutex)) {
  }
  pthread_mutex_destroy(&mutex->native);
  HeapFree(mutex);
}

MutexResult MutexAcquire(Mutex* mutex) noexcept {
  return ResultOf(*mutex, pthread_mutex_lock(&mutex->native));
}

MutexResult MutexTryAcquire(Mutex* mutex) noexcept {
  return ResultOf(*mutex, pthread_mutex_trylock(&mutex->native));
}

bool MutexRelease(Mutex* mutex) noexcept {
  return pthread_mutex_unlock(&mutex->native) == 0;
}

}  // namespace os
