// Which dp::Thread runs on the calling thread.
#ifndef LMKUTILS_PLATFORM_INTERNAL_CURRENT_THREAD_H
#define LMKUTILS_PLATFORM_INTERNAL_CURRENT_THREAD_H

namespace dp {

class Thread;

namespace internal {

// Null where SetCurrentThread has not set anything else.
Thread* CurrentThread() noexcept;

// Does nothing when the system has no more thread-local keys.
void SetCurrentThread(Thread* thread) noexcept;

}  // namespace internal
}  // namespace dp

#endif
