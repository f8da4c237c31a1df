// The queue of du::TaskPool.
#ifndef LMKUTILS_PLATFORM_INTERNAL_TASK_QUEUE_H
#define LMKUTILS_PLATFORM_INTERNAL_TASK_QUEUE_H

#include <atomic>
#include <cstddef>
#include <memory>

#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/platform/object_level_lockable.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/task_pool.h"

namespace du::internal {

// What becomes of a task that is inserted.
enum class Admission : unsigned char {
  kRefuse,
  kRunHere,    // by the inserting thread
  kNoWorkers,  // nobody would take it from the queue
  kQueue,
};

// First in, first out, for any number of threads. An entry is a task or, as null, an order to end for the
// thread that takes it.
//
// The entries lie in chunks, linked one behind the other. Producers append under the object's lock, workers
// take under a lock of their own, so that neither side waits for the other; the number of entries pushed,
// published after the entry, tells workers how far they may go.
//
// Waking a thread costs more than most tasks. So at most one worker at a time, the searcher, stays awake
// without work, for some microseconds; the others sleep, and one of them is woken only when there are entries
// and no searcher. A searcher that finds an entry hands its part on to a sleeper if there are more. Who goes
// to sleep looks once more under the producers' lock: nothing is pushed unseen.
class TaskQueue : public dp::ObjectLevelLockable<TaskQueue*> {
 public:
  // Throws std::bad_alloc, or std::runtime_error without a semaphore.
  TaskQueue();
  ~TaskQueue() override;

  // Appends a task, with a reference of its own, while the admission is kQueue; returns the admission. Throws
  // std::bad_alloc, with nothing appended.
  Admission Push(Task& task);
  void SetAdmission(Admission admission) noexcept;

  // Appends orders to end. Those for which there is no memory are taken before all tasks.
  void PushStopOrders(unsigned count) noexcept;

  // Waits for an entry and takes it.
  SmartPtr<Task> Pop() noexcept;
  // Takes the front entry if there is one; false otherwise.
  bool TryPop(SmartPtr<Task>& task) noexcept;
  // The same, if it is a task.
  bool TryPopTask(SmartPtr<Task>& task) noexcept;
  // The same, if it was among the first `end` entries that were ever pushed.
  bool TryPopBefore(std::size_t end, SmartPtr<Task>& task) noexcept;
  // How many entries were ever pushed.
  std::size_t Pushed() const noexcept { return pushed_.load(std::memory_order_acquire); }

  // Takes the foremost entry of that task out, and drops its reference; false when there is none.
  bool Remove(const Task& task) noexcept;

  std::size_t Count() const noexcept;

 private:
  struct Chunk;
  class Cursor;
  struct ChunkDeleter {
    void operator()(Chunk* chunk) const noexcept;
  };
  // Guards the workers' side. Its memory is asked for behind the first chunk, away from that of the other.
  class WorkersLock : public dp::ObjectLevelLockable<WorkersLock*> {};

  static Chunk* NewChunk();
  void Append(Task* entry);
  bool HasEntries() const noexcept;
  bool SummonSearcher() noexcept;
  void Search(Task*& entry) noexcept;
  bool BeginSearch() noexcept;
  bool AbandonSearch() noexcept;
  void EndSearch() noexcept;
  void Sleep() noexcept;
  void Wake() noexcept;
  std::size_t Available() noexcept;
  Task* TakeFront() noexcept;
  bool Take(Task*& entry) noexcept;

  // -- The producers' side, under the object's lock
  Chunk* back_ = nullptr;
  std::size_t backIndex_ = 0;
  Admission admission_ = Admission::kRefuse;
  bool hasSearcher_ = false;
  unsigned sleepers_ = 0;
  std::atomic<std::size_t> pushed_{0};
  std::atomic<unsigned> hastyStops_{0};  // orders to end that have no place in the queue

  // -- The workers' side, on other cache lines
  alignas(64) std::unique_ptr<Chunk, ChunkDeleter> front_;
  WorkersLock workersLock_;
  std::size_t frontIndex_ = 0;
  std::size_t knownPushed_ = 0;
  std::atomic<std::size_t> taken_{0};

  alignas(64) dp::Semaphore wake_;  // a unit for each sleeper that is to wake
};

}  // namespace du::internal

#endif
