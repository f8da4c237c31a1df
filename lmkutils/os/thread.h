// Threads of the system.
#ifndef LMKUTILS_OS_THREAD_H
#define LMKUTILS_OS_THREAD_H

#include <cstddef>
#include <cstdint>

#include "lmkutils/os/system_error.h"

namespace os {

struct Thread;  // the creator's handle of a thread, open until ThreadClose

using ThreadEntry = void (*)(void* argument) noexcept;

struct ThreadRequest {
  ThreadEntry entry;
  void* argument;
  const char* name;       // shown by debuggers; null or empty for none; cut to what the system takes
  std::size_t stackSize;  // bytes of address space; raised to what the system needs; 0: the system's default
};

// Starts a thread and stores its handle in *thread. On failure nothing runs and *thread is null.
SystemError ThreadStart(const ThreadRequest& request, Thread** thread) noexcept;

// Waits until the thread's entry has returned; any number of threads may wait for one. False on time-out.
bool ThreadWait(Thread* thread, std::uint32_t milliseconds) noexcept;

// Gives the handle up, from another thread only after the entry has returned (waits for the rest of the
// thread's end); from the thread itself at any time. Null does nothing.
void ThreadClose(Thread* thread) noexcept;

// The system's number of the calling thread; not 0.
std::uint32_t CurrentThreadId() noexcept;

// A word that no two living threads share, not 0: the cheapest identity that the target has. A child process
// made by fork keeps that of the thread that forked.
std::uintptr_t CurrentThreadToken() noexcept;

void YieldThread() noexcept;

// Tells the processor that this thread polls; some tens of cycles.
void PauseProcessor() noexcept;

// True once the end of the process has killed all threads but this one, perhaps inside a lock: what one of
// them had to do first will never happen. Always false where threads run on until the process is gone.
bool OtherThreadsKilled() noexcept;

// For the library's exit handlers: whether other threads may still be using it, since they run until the
// process is gone. False where they have been killed, or must not be there when the library is unloaded; true
// as well where it cannot be found out.
bool OtherThreadsRun() noexcept;

}  // namespace os

#endif
