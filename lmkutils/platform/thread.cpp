#include "lmkutils/platform/thread.h"

#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "lmkutils/os/semaphore.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/current_thread.h"
#include "lmkutils/platform/internal/exit_calls.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/thread_trace.h"
#include "lmkutils/platform/spin_lock.h"
#include "lmkutils/platform/wait_lock.h"

namespace dp {
namespace {

// The system's thread, kept while anybody waits for it.
struct Handle {
  os::Thread* native = nullptr;

  Handle() = default;
  ~Handle() { os::ThreadClose(native); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
};

// Unlocks at the end of a scope, if it was given a lock.
class Release {
 public:
  explicit Release(WaitLock* lock) noexcept : lock_(lock) {}
  ~Release() {
    if (lock_ != nullptr) lock_->Unlock();
  }
  Release(const Release&) = delete;
  Release& operator=(const Release&) = delete;

 private:
  WaitLock* const lock_;
};

}  // namespace

// Held by the Thread objects (together one reference) and by the running body.
struct Thread::Impl {
  Impl(const char* threadName, unsigned stack)
      : name(threadName == nullptr ? "" : threadName), stackSize(stack) {
    internal::RequireUsable(guard);
  }

  internal::ThreadLifeTimeTracker exitCalls;
  std::atomic<unsigned> references{1};
  std::atomic<unsigned> id{0};  // written by the thread itself, at its begin and at its end
  SpinLock guard;               // of `handle`, and of starting
  std::shared_ptr<Handle> handle;
  const std::string name;
  const unsigned stackSize;

  struct Launch;
  class Reference;

  std::shared_ptr<Handle> CurrentHandle() noexcept {
    const internal::ScopedLock lock(guard);
    return handle;
  }

  bool IsCurrentThread() const noexcept {
    return id.load(std::memory_order_relaxed) == os::CurrentThreadId();
  }

  os::SystemError Create(Thread& owner, bool synchronous, std::shared_ptr<WaitLock>& startLock);
  void RunExitCalls() noexcept;
  static void Body(void* argument) noexcept;
};

// Keeps the state for a scope: a body may destroy its Thread while Start still works on it.
class Thread::Impl::Reference {
 public:
  explicit Reference(Impl* impl) noexcept : impl_(impl) {
    impl_->references.fetch_add(1, std::memory_order_relaxed);
  }
  Reference(const Reference& other) noexcept : Reference(other.impl_) {}
  Reference& operator=(const Reference&) = delete;
  ~Reference() { Drop(impl_); }

  Impl* operator->() const noexcept { return impl_; }

  static void Drop(Impl* impl) noexcept {
    if (impl->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete impl;
  }

 private:
  Impl* const impl_;
};

// What the new thread is given. It shares the start lock, which it may still be releasing when the starter
// goes on.
struct Thread::Impl::Launch {
  const Reference impl;
  Thread* const owner;
  const std::shared_ptr<WaitLock> startLock;
  const bool synchronous;
};

const unsigned Thread::kDefaultStackSize;

Thread::Thread(const char* name, unsigned stackSize) : impl_(new Impl(name, stackSize)) {}

// On its own thread the body keeps the state and drops it at its end.
Thread::~Thread() {
  if (impl_->IsCurrentThread()) {
    internal::SetCurrentThread(nullptr);
  } else {
    WaitForThreadToTerminate();
  }
  Impl::Reference::Drop(impl_);
}

void Thread::Initialize() {}

// The start lock is held by the starter, released by the new thread and taken again to wait for that: when
// the thread has stored its id, or after Initialize.
bool Thread::Start(bool synchronous) noexcept {
  const Impl::Reference impl(impl_);
  std::shared_ptr<WaitLock> startLock;
  bool running = false;
  os::SystemError error = os::kErrorNotEnoughMemory;
  try {
    const internal::ScopedLock lock(impl->guard);
    running = impl->handle && !os::ThreadWait(impl->handle->native, 0);
    if (!running) error = impl->Create(*this, synchronous, startLock);
  } catch (...) {  // no memory, or no handle for the start lock
  }
  if (running) {
    internal::TraceThreadRunsAlready();
    return false;
  }
  if (error != os::kSuccess) {
    internal::TraceThreadNotCreated(error);
    return false;
  }
  try {
    startLock->Lock();
  } catch (...) {  // it runs all the same
  }
  return true;
}

os::SystemError Thread::Impl::Create(Thread& owner, bool synchronous, std::shared_ptr<WaitLock>& startLock) {
  handle.reset();
  auto fresh = std::make_shared<Handle>();
  startLock = std::make_shared<WaitLock>();
  startLock->Lock();
  std::unique_ptr<Launch> launch(new Launch{Reference(this), &owner, startLock, synchronous});
  const os::SystemError error =
      os::ThreadStart({.entry = Body, .argument = launch.get(), .name = name.c_str(), .stackSize = stackSize},
                      &fresh->native);
  if (error != os::kSuccess) return error;
  static_cast<void>(launch.release());
  handle = std::move(fresh);
  return os::kSuccess;
}

void Thread::Impl::Body(void* argument) noexcept {
  std::unique_ptr<Launch> launch(static_cast<Launch*>(argument));
  const Reference impl(launch->impl);
  impl->id.store(os::CurrentThreadId(), std::memory_order_release);
  internal::SetCurrentThread(launch->owner);
  try {
    {
      const Release release(launch->startLock.get());
      if (launch->synchronous) launch->owner->Initialize();
    }
    if (!launch->synchronous) launch->owner->Initialize();
    launch->owner->Run();
  } catch (...) {
    internal::TraceThreadException(impl->name.c_str());
  }
  launch.reset();
  impl->RunExitCalls();
  internal::SetCurrentThread(nullptr);
  impl->id.store(0, std::memory_order_release);
}

void Thread::Impl::RunExitCalls() noexcept {
  while (const std::optional<AtExitFunction> function = exitCalls.Take()) {
    try {
      if (*function != nullptr) (*function)();
    } catch (...) {
      internal::TraceThreadException(name.c_str());
    }
  }
}

bool Thread::ThreadIsRunning() const noexcept {
  const std::shared_ptr<Handle> handle = impl_->CurrentHandle();
  return handle && !os::ThreadWait(handle->native, 0);
}

void Thread::WaitForThreadToTerminate() noexcept {
  if (impl_->IsCurrentThread()) return;
  if (const std::shared_ptr<Handle> handle = impl_->CurrentHandle())
    os::ThreadWait(handle->native, os::kInfinite);
}

unsigned Thread::GetThreadId() const noexcept {
  return impl_->id.load(std::memory_order_acquire);
}

unsigned Thread::GetCurrentThreadId() noexcept {
  return os::CurrentThreadId();
}

Thread* Thread::GetCurrentThread() noexcept {
  return internal::CurrentThread();
}

void Thread::Yield() noexcept {
  os::YieldThread();
}

void Thread::ScheduleAtThreadExitCall(unsigned longevity, AtExitFunction function) {
  impl_->exitCalls.Schedule(longevity, function);
}

void Thread::CancelAtThreadExitCall(AtExitFunction function) noexcept {
  impl_->exitCalls.Cancel(function);
}

}  // namespace dp
