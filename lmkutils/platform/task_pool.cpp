#include "lmkutils/platform/task_pool.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/os/process.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/task_queue.h"
#include "lmkutils/platform/internal/task_run.h"
#include "lmkutils/platform/internal/thread_trace.h"
#include "lmkutils/platform/object_level_lockable.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/thread.h"
#include "lmkutils/text/internal/lasting_symbol.h"
#include "lmkutils/time/timer.h"

namespace du {

using internal::Admission;

Task::~Task() = default;

Symbol Task::GetName() {
  static const internal::LastingSymbol name("<unknown task>");
  return name.Get();
}

float Task::GetPriority() {
  return 1.0F;
}

void Task::Run() {
  throw std::logic_error("Task::Run() not implemented");
}

void Task::TaskComplete() {
  FlushResults();
}

void Task::FlushResults() {}

void Task::Abort() {}

// Held by the pool and by each worker: a task may destroy the pool that runs it. The object's lock comes
// before that of the queue, and is never held while a task is called or dropped.
//
// Every worker that is alive and was not told to end is counted as current; every other one has an order to
// end in the queue. So when the admission is closed and the last order is taken, the queue is empty: what is
// left without a thread are tasks that were overtaken by orders for which there was no memory.
struct TaskPool::Impl : CommonAllocated, dp::ObjectLevelLockable<TaskPool::Impl*> {
  class Worker;
  enum class State { kRunning, kStopping, kStopped };
  enum class Ended { kThreads, kBodies };
  static constexpr unsigned kMostDrains = 16;  // of one worker, each inside of the other

  unsigned target = 0;   // what StartTaskPool goes back to
  unsigned current = 0;  // workers started minus those told to stop
  internal::TaskQueue queue;
  State state = State::kStopped;
  unsigned drains = 0;   // CompletePendingTasks under way
  unsigned live = 0;     // workers that still take entries
  unsigned leaving = 0;  // workers that have done so, and wind up
  unsigned stopWaiters = 0;
  dp::Semaphore stopped;  // a unit for each of these when no stop is under way any more
  std::vector<Worker*, CommonAllocator<Worker*>> workers;
  std::atomic<unsigned> finished{0};    // of these, whose bodies are over
  std::atomic<unsigned> references{1};  // of the pool and of the workers
  const std::uint32_t process = os::ProcessId();

  ~Impl() override { Reap(Ended::kBodies); }
  void Drop() noexcept {
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  bool Insert(const SmartPtr<Task>& task);
  unsigned SetTarget(unsigned count) noexcept;
  void Complete() noexcept;
  void Start() noexcept;
  void Stop() noexcept;
  void Close() noexcept;

  void Work(Worker& self) noexcept;

  // The workers are gone, perhaps inside of a lock: killed at the end of the process, or left behind by fork.
  bool HasLostWorkers() const noexcept { return os::OtherThreadsKilled() || os::ProcessId() != process; }

 private:
  bool StartWorker() noexcept;
  Admission UpdateAdmission() noexcept;
  Admission Revive() noexcept;
  void RequestStop() noexcept;
  bool IsStopUnderWay() const noexcept { return state == State::kStopping || leaving != 0; }
  void WaitForStop() noexcept;
  void Leave(Worker& self) noexcept;
  void AbortFirst(std::size_t end) noexcept;
  Worker* OwnWorker() const noexcept;
  unsigned CountWorkers() const noexcept;
  void Reap(Ended which) noexcept;
};

// Its Impl may be gone when its body ends, and then it is gone too: see ~Thread.
class TaskPool::Impl::Worker : public dp::Thread, public CommonAllocated {
 public:
  explicit Worker(TaskPool::Impl& pool) : dp::Thread("TaskPool Thread", 0x40000), pool_(pool) {}
  ~Worker() override { WaitForThreadToTerminate(); }

  void Run() override {
    TaskPool::Impl& pool = pool_;
    pool.Work(*this);
    pool.Drop();
  }

  internal::TaskQueue::Bed bed;
  bool isDismissed = false;  // has taken its order to end inside of a task; its own thread's
  bool hasLeft = false;      // takes no more entries; its own thread's
  unsigned drains = 0;       // CompletePendingTasks of its tasks under way; its own thread's
  bool isFinished = false;   // under the lock of the Impl

 private:
  TaskPool::Impl& pool_;
};

// -- Under the lock

// False, with a trace of the thread's, when there is no more memory or no more thread.
bool TaskPool::Impl::StartWorker() noexcept {
  try {
    workers.reserve(workers.size() + 1);
    auto worker = std::make_unique<Worker>(*this);
    references.fetch_add(1, std::memory_order_relaxed);
    if (worker->Start(true)) {
      workers.push_back(worker.release());
      ++live;
      ++current;
      return true;
    }
    references.fetch_sub(1, std::memory_order_relaxed);
  } catch (const std::exception&) {
    dp::internal::TraceThreadNotCreated(os::kErrorNotEnoughMemory);
  }
  return false;
}

Admission TaskPool::Impl::UpdateAdmission() noexcept {
  Admission admission = Admission::kQueue;
  if (state != State::kRunning || (drains != 0 && target != 0)) {
    admission = Admission::kRefuse;
  } else if (target == 0) {
    admission = Admission::kRunHere;
  } else if (current == 0) {
    admission = Admission::kNoWorkers;
  }
  queue.SetAdmission(admission);
  return admission;
}

// -- What the pool does

bool TaskPool::Impl::Insert(const SmartPtr<Task>& task) {
  if (finished.load(std::memory_order_relaxed) != 0) Reap(Ended::kThreads);
  Admission admission = queue.Push(*task);
  while (admission == Admission::kNoWorkers && Revive() != Admission::kNoWorkers)
    admission = queue.Push(*task);
  if (admission == Admission::kRunHere || admission == Admission::kNoWorkers) {
    const SmartPtr<Task> kept = task;  // NOLINT(performance-unnecessary-copy-initialization): `task` may go
    internal::RunTask(*kept);          // which may destroy the pool
    return true;
  }
  return admission == Admission::kQueue;
}

Admission TaskPool::Impl::Revive() noexcept {
  const Guard guard(*this);
  if (UpdateAdmission() == Admission::kNoWorkers) StartWorker();
  return UpdateAdmission();
}

unsigned TaskPool::Impl::SetTarget(unsigned count) noexcept {
  const Guard guard(*this);
  const unsigned previous = std::exchange(target, count);
  while (state != State::kStopping && current < count && StartWorker()) {
  }
  const unsigned surplus = current - std::min(current, count);
  current -= surplus;
  UpdateAdmission();  // first, lest a task come behind the last order to end
  queue.PushStopOrders(surplus);
  return previous;
}

void TaskPool::Impl::Complete() noexcept {
  Worker* const self = OwnWorker();
  if (self != nullptr && self->drains == kMostDrains) return;
  {
    const Guard guard(*this);
    if (live == 0) return;
    ++drains;
    UpdateAdmission();
  }
  if (self != nullptr) {
    ++self->drains;
    for (SmartPtr<Task> task; queue.TryPopTask(task); task.reset()) internal::RunTask(*task);
    --self->drains;
  } else {
    while (queue.Count() != 0 && CountWorkers() != 0) Timer::SleepMilliSeconds(10);
  }
  {
    const Guard guard(*this);
    --drains;
    UpdateAdmission();
  }
  Reap(Ended::kThreads);
}

void TaskPool::Impl::Start() noexcept {
  const bool isInside = OwnWorker() != nullptr;
  for (;;) {
    {
      const Guard guard(*this);
      if (state != State::kStopping) {
        while (current < target && StartWorker()) {
        }
        state = State::kRunning;
        UpdateAdmission();
        return;
      }
    }
    if (isInside) return;
    WaitForStop();
  }
}

void TaskPool::Impl::Stop() noexcept {
  const bool isInside = OwnWorker() != nullptr;
  RequestStop();
  if (!isInside) WaitForStop();
}

void TaskPool::Impl::RequestStop() noexcept {
  std::size_t end = 0;
  bool isOver = false;
  {
    const Guard guard(*this);
    if (state == State::kStopping) return;
    isOver = live == 0;
    state = isOver ? State::kStopped : State::kStopping;
    UpdateAdmission();
    queue.PushStopOrders(std::exchange(current, 0));
    end = queue.Pushed();
  }
  if (isOver) AbortFirst(end);
}

// For threads that are none of the workers.
void TaskPool::Impl::WaitForStop() noexcept {
  bool mustWait = false;
  {
    const Guard guard(*this);
    mustWait = IsStopUnderWay();
    if (mustWait) ++stopWaiters;
  }
  if (mustWait) internal::WaitForUnit(stopped);
  Reap(Ended::kBodies);
}

void TaskPool::Impl::Close() noexcept {
  Worker* const self = OwnWorker();
  if (self == nullptr) return Stop();
  RequestStop();
  for (SmartPtr<Task> task; !self->isDismissed && !self->hasLeft && queue.TryPop(task); task.reset()) {
    if (task) {
      internal::RunTask(*task);
    } else {
      self->isDismissed = true;
    }
  }
  while (CountWorkers() > 1) Timer::SleepMilliSeconds(1);
  Reap(Ended::kBodies);
}

// -- What its workers do

void TaskPool::Impl::Work(Worker& self) noexcept {
  queue.BeginWork();
  while (SmartPtr<Task> task = queue.Pop(self.bed)) {
    internal::RunTask(*task);
    task.reset();
    if (self.isDismissed) break;
  }
  queue.EndWork();
  self.hasLeft = true;
  Leave(self);
}

void TaskPool::Impl::Leave(Worker& self) noexcept {
  std::size_t end = 0;
  bool isLast = false;
  {
    const Guard guard(*this);
    --live;
    ++leaving;
    isLast = live == 0 && state == State::kStopping;
    if (isLast) state = State::kStopped;
    end = queue.Pushed();
  }
  if (isLast) AbortFirst(end);
  unsigned waiters = 0;
  {
    const Guard guard(*this);
    --leaving;
    self.isFinished = true;
    finished.fetch_add(1, std::memory_order_relaxed);
    if (!IsStopUnderWay()) waiters = std::exchange(stopWaiters, 0);
  }
  stopped.Signal(waiters);
}

// Those among the first `end` entries of the queue's life that are left. A pool that is started anew
// meanwhile keeps what comes behind them.
void TaskPool::Impl::AbortFirst(std::size_t end) noexcept {
  for (SmartPtr<Task> task; queue.TryPopBefore(end, task); task.reset())
    if (task) internal::AbortTask(*task);
}

// The worker that runs on the calling thread, or null; a thread that is at its exit calls is like any other.
TaskPool::Impl::Worker* TaskPool::Impl::OwnWorker() const noexcept {
  const dp::Thread* const thread = dp::Thread::GetCurrentThread();
  if (thread == nullptr) return nullptr;
  const Guard guard(*this);
  const auto found = std::find(workers.begin(), workers.end(), thread);
  return found == workers.end() || (*found)->isFinished ? nullptr : *found;
}

unsigned TaskPool::Impl::CountWorkers() const noexcept {
  const Guard guard(*this);
  return live + leaving;
}

// Deletes the workers that have ended, one by one and without the lock: their threads may still run exit
// calls, for which it waits only when it is told to take all whose bodies are over.
void TaskPool::Impl::Reap(Ended which) noexcept {
  const auto isEnded = [which](const Worker* worker) {
    return worker->isFinished && (which == Ended::kBodies || !worker->ThreadIsRunning());
  };
  for (;;) {
    std::unique_ptr<Worker> ended;
    const Guard guard(*this);
    const auto found = std::find_if(workers.begin(), workers.end(), isEnded);
    if (found == workers.end()) return;
    ended.reset(*found);
    workers.erase(found);
    finished.fetch_sub(1, std::memory_order_relaxed);
  }
}

// -- TaskPool

TaskPool::TaskPool(unsigned targetThreads) : impl_(new Impl) {
  impl_->SetTarget(targetThreads);
  impl_->Start();
}

TaskPool::~TaskPool() {
  if (impl_->HasLostWorkers()) return;
  impl_->Close();
  impl_->Drop();
}

bool TaskPool::InsertTask(const SmartPtr<Task>& task) {
  return task && impl_->Insert(task);
}

bool TaskPool::RemoveTask(const SmartPtr<Task>& task) noexcept {
  return task && impl_->queue.Remove(*task);
}

unsigned TaskPool::GetNumTasks() const noexcept {
  constexpr std::size_t kMost = std::numeric_limits<unsigned>::max();
  return static_cast<unsigned>(std::min(impl_->queue.Count(), kMost));
}

unsigned TaskPool::SetTargetThreads(unsigned targetThreads) noexcept {
  return impl_->SetTarget(targetThreads);
}

void TaskPool::CompletePendingTasks() {
  if (!impl_->HasLostWorkers()) impl_->Complete();
}

void TaskPool::StartTaskPool() {
  impl_->Start();
}

void TaskPool::StopTaskPool() {
  if (!impl_->HasLostWorkers()) impl_->Stop();
}

}  // namespace du
