// The queue of du::TaskPool.
#ifndef LMKUTILS_PLATFORM_INTERNAL_TASK_QUEUE_H
#define LMKUTILS_PLATFORM_INTERNAL_TASK_QUEUE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
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
// without work, for some tens of microseconds; the others sleep, and one of them, the last that went to
// sleep, is woken only when there are entries and no searcher. A searcher that finds an entry hands its part
// on to a sleeper if there are more. Who goes to sleep looks once more under the producers' lock: nothing is
// pushed unseen.
//
// A worker that comes back from a short task looks for the next one sooner than a sleeper is awake: it
// becomes the searcher in its place, and the sleeper, once awake, lies down again while there is one.
//
// A searcher that finds nothing has taken a processor from others, perhaps from the very thread that was
// about to push: a system likes to run a woken thread where it was woken. So it searches only while that
// pays, which it does not after a search in vain, until a wait has been as short as a search; and only while
// the workers that are awake leave a processor to the producers.
class TaskQueue : public dp::ObjectLevelLockable<TaskQueue*> {
 public:
  // Where a worker sleeps. Throws std::runtime_error without a semaphore.
  class Bed {
    friend class TaskQueue;
    dp::Semaphore wake_;
    Bed* next_ = nullptr;  // of a worker that sleeps for longer
  };

  // Throws std::bad_alloc.
  TaskQueue();
  ~TaskQueue() override;

  // Appends a task, with a reference of its own, while the admission is kQueue; returns the admission. Throws
  // std::bad_alloc, with nothing appended.
  Admission Push(Task& task);
  void SetAdmission(Admission admission) noexcept;

  // Appends orders to end. Those for which there is no memory are taken before all tasks.
  void PushStopOrders(unsigned count) noexcept;

  // A thread says that it is a worker: before its first Pop, and after its last.
  void BeginWork() noexcept;
  void EndWork() noexcept;
  // For workers, each with a bed of its own: waits for an entry and takes it.
  SmartPtr<Task> Pop(Bed& bed) noexcept;
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
  Bed* SummonSearcher() noexcept;
  bool TakeOverFromSleeper() noexcept;
  void Appoint() noexcept;
  void LieDown(Bed& bed) noexcept;
  void Search(Bed& bed, Task*& entry) noexcept;
  bool BeginSearch(Bed& bed) noexcept;
  bool WakeUp(Bed& bed) noexcept;
  bool AbandonSearch(Bed& bed) noexcept;
  void EndSearch() noexcept;
  static void Wake(Bed* bed) noexcept;
  std::size_t Available() noexcept;
  Task* TakeFront() noexcept;
  bool Take(Task*& entry) noexcept;

  // -- The producers' side, under the object's lock
  Chunk* back_ = nullptr;
  std::size_t backIndex_ = 0;
  Admission admission_ = Admission::kRefuse;
  Bed* sleepers_ = nullptr;  // the last that went to sleep
  unsigned awake_ = 0;       // workers that do not sleep
  bool hasSearcher_ = false;
  Bed* waking_ = nullptr;  // the searcher's, while it has yet to wake up
  bool doesSearchPay_ = true;
  unsigned patience_ = 0;        // how long the searcher, who may read it unlocked, stays awake, in pauses
  std::int64_t quietSince_ = 0;  // when the last searcher gave up at once, in ticks; else 0
  std::size_t takenAtFind_ = 0;  // taken_ when the last searcher found an entry
  std::atomic<std::size_t> pushed_{0};
  std::atomic<unsigned> hastyStops_{0};  // orders to end that have no place in the queue

  // -- The workers' side, on other cache lines
  alignas(64) std::unique_ptr<Chunk, ChunkDeleter> front_;
  WorkersLock workersLock_;
  std::size_t frontIndex_ = 0;
  std::size_t knownPushed_ = 0;
  std::atomic<std::size_t> taken_{0};
};

// Takes a unit, whatever the system says.
void WaitForUnit(dp::Semaphore& semaphore) noexcept;

}  // namespace du::internal

#endif
