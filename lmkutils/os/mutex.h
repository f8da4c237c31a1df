// The recursive kernel mutex that notices an owner that died. Windows: CreateMutexA. Linux: a robust
// recursive pthread mutex.
#ifndef LMKUTILS_OS_MUTEX_H
#define LMKUTILS_OS_MUTEX_H

namespace os {

struct Mutex;

enum class MutexResult {
  kAcquired,
  kAbandoned,  // acquired as well; the thread that held it ended without releasing it
  kBusy,       // from MutexTryAcquire only
  kFailed,
};

// A free mutex; null when memory or handles have run out.
Mutex* MutexCreate() noexcept;
void MutexDestroy(Mutex* mutex) noexcept;  // null does nothing

MutexResult MutexAcquire(Mutex* mutex) noexcept;  // waits without limit
MutexResult MutexTryAcquire(Mutex* mutex) noexcept;

// Undoes one acquisition; false when the calling thread is not the owner.
bool MutexRelease(Mutex* mutex) noexcept;

}  // namespace os

#endif
