// dp::Thread: base class of everything that runs on a thread of its own.
#ifndef LMKUTILS_PLATFORM_THREAD_H
#define LMKUTILS_PLATFORM_THREAD_H

#include "lmkutils/export.h"
#include "lmkutils/platform/at_exit.h"

// Some system headers define this word as a macro, which would cut our operation out. A program that includes
// such a header later calls (dp::Thread::Yield)().
#undef Yield

namespace dp {

// A thread of the system; derive and supply Run. The caller owns the object, which may be started again
// after each end. Unless said otherwise any thread may call any operation.
//
// The destructor waits for the thread, but only when the derived class's part is gone already: a derived
// class calls WaitForThreadToTerminate in its own destructor, lest Run meet dead members. Destroyed on its
// own thread, the object goes at once and the thread ends by itself.
//
// Copies share one thread and its state, which the destructor of either frees: destroy only one of them.
// Assigning over a Thread leaves the state that it had to its other holders.
class LMK_API Thread {
 public:
  static const unsigned kDefaultStackSize = 0x40000;

  // `name` (null: none) is for debuggers and traces. `stackSize` in bytes, raised to what the system needs.
  // Throws std::bad_alloc.
  explicit Thread(const char* name = nullptr, unsigned stackSize = kDefaultStackSize);
  virtual ~Thread();
  Thread(const Thread&) noexcept = default;
  Thread& operator=(const Thread&) noexcept = default;

  // Runs first on the new thread; does nothing unless overridden.
  virtual void Initialize();

  // The thread's body. What it throws is traced and ends the thread.
  virtual void Run() = 0;

  // Starts the thread. `synchronous`: returns only after Initialize has ended on the new thread, by return
  // or by exception. False, with a trace, when the thread runs already or cannot be created; throws nothing.
  bool Start(bool synchronous) noexcept;

  [[nodiscard]] bool ThreadIsRunning() const noexcept;

  // Waits without limit for the end of the body and its exit calls. Returns at once when the thread does not
  // run, and on the thread itself.
  void WaitForThreadToTerminate() noexcept;

  // The system's number of the running thread, set when Start returns; 0 when it does not run.
  [[nodiscard]] unsigned GetThreadId() const noexcept;

  // The system's number of the calling thread.
  [[nodiscard]] static unsigned GetCurrentThreadId() noexcept;

  // The object whose body runs on the calling thread; null on all other threads.
  [[nodiscard]] static Thread* GetCurrentThread() noexcept;

  // Gives the rest of the time slice up.
  static void Yield() noexcept;

  // Adds a call that runs on this thread when its body has ended, in the order that at_exit.h describes.
  // Calls scheduled while the thread does not run wait for its next end. Throws std::bad_alloc.
  void ScheduleAtThreadExitCall(unsigned longevity, AtExitFunction function);

  // Cancels every scheduled call of `function`.
  void CancelAtThreadExitCall(AtExitFunction function) noexcept;

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace dp

#endif
