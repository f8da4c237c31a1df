// The recursive lock that spins a while and then sleeps in the kernel.
//
// Storage comes from os::HeapAllocate, so that these locks can guard the allocators above. Windows: a
// critical section. Linux: an owner beside a futex word.
#ifndef LMKUTILS_OS_LOCK_H
#define LMKUTILS_OS_LOCK_H

namespace os {

struct Lock;

// A free lock that polls up to `spinCount` times before it sleeps. Null when there is no memory.
Lock* LockCreate(unsigned spinCount) noexcept;

// The lock must be free and nobody may wait for it. Null does nothing.
void LockDestroy(Lock* lock) noexcept;

void LockAcquire(Lock* lock) noexcept;
bool LockTryAcquire(Lock* lock) noexcept;

// Undoes one acquisition. Only the owner may call it.
void LockRelease(Lock* lock) noexcept;

}  // namespace os

#endif
