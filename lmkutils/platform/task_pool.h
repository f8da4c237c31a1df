// du::TaskPool: runs tasks on threads of its own, first come, first served.
#ifndef LMKUTILS_PLATFORM_TASK_POOL_H
#define LMKUTILS_PLATFORM_TASK_POOL_H

#include "lmkutils/export.h"
#include "lmkutils/memory/ref_counted.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/text/symbol.h"

namespace du {

// A piece of work for a TaskPool; derive and supply Run. Tasks are shared: a pool holds one reference from
// InsertTask until it has run, removed or aborted the task, whose destructor may thus run on any thread.
//
// Of one task the pool calls, in this order and on one thread: GetName, Run, GetName, TaskComplete. Or Abort
// alone, when it is stopped before the task could run. What these throw is traced and ends the task, not the
// pool. A task that was inserted twice runs twice, perhaps on two threads at once. A running task may call
// any operation of its pool; see there for those that wait.
class LMK_API Task : public RefCounted {
 public:
  ~Task() override;

  // For traces; asked for only while tracing is on. "<unknown task>" unless overridden.
  virtual Symbol GetName();
  // 1.0 unless overridden. Without effect: the pool serves in the order of arrival.
  virtual float GetPriority();
  // The work. The body that it has here throws std::logic_error "Task::Run() not implemented".
  virtual void Run() = 0;
  // Called when Run has returned, not when it threw. Calls FlushResults unless overridden.
  virtual void TaskComplete();
  // Does nothing unless overridden.
  virtual void FlushResults();
  // Called instead of Run. Does nothing unless overridden.
  virtual void Abort();
};

// A queue of tasks and the threads ("TaskPool Thread") that take them from it, each the one at its front. How
// many threads there are is a target that may be changed at any time; with a target of 0 each task runs at
// once on the thread that inserts it. Nothing is promised about the order in which tasks that run at the same
// time end. Threads without a task sleep; while tasks come some microseconds one after the other, one of them
// stays awake for the next.
//
//   du::TaskPool pool(4);
//   pool.InsertTask(du::MakeShared<Conversion>(file));
//   pool.StopTaskPool();  // every task that was accepted has run
//
// The caller owns the pool, which any number of threads may use, its own tasks among them. Operations that
// wait for tasks do not wait for the one that calls them; each says below what it does instead. Nobody may
// use the pool any more when its destructor begins, but its tasks, until that returns.
//
// Begins and ends of tasks are traced at Debug level, failures as Errors, under "du" "TaskPool".
class LMK_API TaskPool {
 public:
  // Starts the threads. Those that cannot be started are missing, which is traced. Throws std::bad_alloc,
  // or std::runtime_error without a semaphore.
  TaskPool() : TaskPool(3) {}
  explicit TaskPool(unsigned targetThreads);
  TaskPool(const TaskPool&) = delete;
  TaskPool& operator=(const TaskPool&) = delete;

  // As StopTaskPool. Called by a task of the pool it runs what is queued before it, with the other threads,
  // and waits for these; its own thread ends after that task. When the threads are lost, because the end of
  // the process has killed them or because this is a process made by fork, it leaves everything as it is.
  ~TaskPool();

  // Queues a task, or runs it before returning when the target is 0, or when there is no thread and none can
  // be started. False for null, and while the pool accepts nothing: during CompletePendingTasks (unless the
  // target is 0), from StopTaskPool on until StartTaskPool. Throws std::bad_alloc, with nothing queued.
  bool InsertTask(const SmartPtr<Task>& task);

  // Takes a task out of the queue, the foremost if it is there more than once. False when it is not queued.
  // Looks through the queue from its front.
  bool RemoveTask(const SmartPtr<Task>& task) noexcept;

  // How many entries are queued: tasks, and an order to end for each thread that is to go.
  [[nodiscard]] unsigned GetNumTasks() const noexcept;

  // Starts threads, or has some end after what is queued now; returns the former target. The threads of a
  // pool that is being stopped stay away until StartTaskPool.
  unsigned SetTargetThreads(unsigned targetThreads) noexcept;

  // Accepts no tasks until the queue is empty: every task that was inserted before has begun then, and may
  // still run. Ends early when there are no threads (more). Called by a task of the pool it runs tasks itself
  // until the queue is empty, or a thread's order to end is at its front; but when those do so too, sixteen
  // inside of each other, the next returns at once, for the sake of the stack.
  void CompletePendingTasks();

  // Starts as many threads as the target says, and accepts tasks. Waits for a StopTaskPool that is under way;
  // called by a task of the pool, does nothing then.
  void StartTaskPool();

  // Accepts no more tasks, lets the threads run what is queued and ends them; tasks that are left without a
  // thread are told by Abort. Returns when all that is done; several threads may call it. Called by a task of
  // the pool it returns at once, and the threads end after what is queued. The target stays.
  void StopTaskPool();

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace du

#endif
