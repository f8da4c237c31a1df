#include "lmkutils/os/thread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>

#include <pthread.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "lmkutils/os/memory.h"
#include "lmkutils/os/posix/futex.h"
#include "lmkutils/os/posix/thread_token.h"
#include "lmkutils/os/semaphore.h"

namespace os {

constinit thread_local std::uint64_t threadTokenStorage = 0;

// Shared by the thread and its creator. `ended` can be awaited by many, where pthread_join can be called
// once; the join is left to ThreadClose.
struct Thread {
  explicit Thread(const ThreadRequest& request) noexcept : entry(request.entry), argument(request.argument) {
    if (request.name != nullptr) std::strncpy(name, request.name, sizeof(name) - 1);
  }

  const ThreadEntry entry;
  void* const argument;
  char name[16] = {};  // what the kernel takes
  pthread_t handle{};
  std::atomic<std::uint32_t> ended{0};
  bool detached = false;  // the thread's own, which frees the record then
};

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kStackFactor = 4;  // red zones and shadow calls need more of it
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::size_t kStackFactor = 4;
#else
constexpr std::size_t kStackFactor = 1;
#endif
#else
constexpr std::size_t kStackFactor = 1;
#endif

// Windows reserves stacks in steps of this, so no program asks for less and means it.
constexpr std::size_t kSmallestStack = 64 * 1024;

// Of trivial type and part of the initial set of thread-local storage: reading it is a single load.
[[gnu::tls_model("initial-exec")]] thread_local std::uint32_t cachedId;

// The calling thread's number is the only thing that fork changes about it. No static that is initialised at
// run time: a child made meanwhile would wait for its initialiser's thread. Threads that come here at once
// register more than one hook, which does no harm.
void ForgetCachedIdInChild() noexcept {
  static constinit std::atomic<bool> isRegistered{false};
  if (isRegistered.load(std::memory_order_relaxed)) return;
  pthread_atfork(nullptr, nullptr, [] { cachedId = 0; });
  isRegistered.store(true, std::memory_order_relaxed);
}

void* RunThread(void* argument) noexcept {
  Thread* const thread = static_cast<Thread*>(argument);
  if (thread->name[0] != '\0') pthread_setname_np(pthread_self(), thread->name);
  thread->entry(thread->argument);
  if (thread->detached) {
    HeapFree(thread);
    return nullptr;
  }
  // The record lives on: whoever closes it joins this thread first.
  thread->ended.store(1, std::memory_order_release);
  FutexWake(&thread->ended, ~std::uint32_t{0});
  return nullptr;
}

std::size_t FirstStackSize(std::size_t wanted) noexcept {
  const long minimum = sysconf(_SC_THREAD_STACK_MIN);
  const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t size =
      std::max({wanted * kStackFactor, kSmallestStack, minimum > 0 ? static_cast<std::size_t>(minimum) : 0});
  return (size + page - 1) / page * page;
}

// The C library takes static thread-local storage out of the stack and refuses one that has no room for it.
// How much it needs it does not say, so a refused size is doubled.
int CreateWithStack(Thread& thread, std::size_t wanted) noexcept {
  pthread_attr_t attributes;
  if (const int error = pthread_attr_init(&attributes)) return error;
  std::size_t size = FirstStackSize(wanted);
  int error = EINVAL;
  for (int tries = 0; tries < 10 && error == EINVAL; ++tries, size *= 2) {
    if (wanted != 0 && pthread_attr_setstacksize(&attributes, size) != 0) continue;
    error = pthread_create(&thread.handle, &attributes, RunThread, &thread);
  }
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace

SystemError ThreadStart(const ThreadRequest& request, Thread** thread) noexcept {
  *thread = nullptr;
  void* const storage = HeapAllocate(sizeof(Thread));
  if (storage == nullptr) return kErrorNotEnoughMemory;
  Thread* const created = new (storage) Thread(request);
  if (const int error = CreateWithStack(*created, request.stackSize)) {
    HeapFree(storage);
    return error == EAGAIN ? kErrorNotEnoughMemory : SystemErrorFromErrno(error);  // no more threads
  }
  *thread = created;
  return kSuccess;
}

bool ThreadWait(Thread* thread, std::uint32_t milliseconds) noexcept {
  if (thread->ended.load(std::memory_order_acquire) != 0) return true;
  if (milliseconds == 0) return false;
  const timespec deadline = DeadlineIn(milliseconds);
  while (thread->ended.load(std::memory_order_acquire) == 0) {
    const FutexResult result = FutexWait(&thread->ended, 0, milliseconds == kInfinite ? nullptr : &deadline);
    if (result == FutexResult::kTimedOut) return thread->ended.load(std::memory_order_acquire) != 0;
  }
  return true;
}

void ThreadClose(Thread* thread) noexcept {
  if (thread == nullptr) return;
  if (pthread_equal(thread->handle, pthread_self()) != 0) {
    thread->detached = true;
    pthread_detach(thread->handle);
    return;
  }
  pthread_join(thread->handle, nullptr);
  HeapFree(thread);
}

std::uint32_t CurrentThreadId() noexcept {
  if (cachedId == 0) {
    ForgetCachedIdInChild();
    cachedId = static_cast<std::uint32_t>(syscall(SYS_gettid));
  }
  return cachedId;
}

std::uintptr_t CurrentThreadToken() noexcept {
  return ThreadToken();
}

void YieldThread() noexcept {
  sched_yield();
}

void PauseProcessor() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

bool OtherThreadsKilled() noexcept {
  return false;
}

bool OtherThreadsRun() noexcept {
  const int saved = errno;
  struct stat tasks;
  const bool known = stat("/proc/self/task", &tasks) == 0;
  errno = saved;
  // One link for each thread, one from the parent and one from itself; fewer where /proc does not count them.
  return !known || tasks.st_nlink != 3;
}

}  // namespace os
