#include "lmkutils/os/mutex.h"

#include <atomic>
#include <cerrno>
#include <new>

#include <pthread.h>

#include "lmkutils/os/memory.h"
#include "lmkutils/os/posix/thread_token.h"

namespace os {

// The owner is noted beside the system's mutex, so that a release by another thread is refused before it gets
// there: the system would refuse it as well, but thread checkers report the attempt. A dead owner's note may
// name a later thread that has the same token; then the system's refusal counts.
struct Mutex {
  pthread_mutex_t native;
  std::atomic<std::uintptr_t> owner{0};
  unsigned depth = 0;  // the owner's
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

MutexResult NoteOwner(Mutex& mutex, unsigned depth, MutexResult result) noexcept {
  mutex.depth = depth;
  mutex.owner.store(ThreadToken(), std::memory_order_relaxed);
  return result;
}

// An abandoned mutex is made whole at once; what the dead owner left half done is the callers' business, as
// on Windows.
MutexResult ResultOf(Mutex& mutex, int error) noexcept {
  switch (error) {
    case 0:
      return NoteOwner(mutex, mutex.depth + 1, MutexResult::kAcquired);
    case EBUSY:
      return MutexResult::kBusy;
    case EOWNERDEAD:
      pthread_mutex_consistent(&mutex.native);
      return NoteOwner(mutex, 1, MutexResult::kAbandoned);
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
  if (mutex->owner.load(std::memory_order_relaxed) != ThreadToken()) return false;
  if (--mutex->depth == 0) mutex->owner.store(0, std::memory_order_relaxed);
  return pthread_mutex_unlock(&mutex->native) == 0;
}

}  // namespace os
