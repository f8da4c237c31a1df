#include "lmkutils/platform/internal/task_queue.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "lmkutils/os/back_off.h"
#include "lmkutils/os/memory.h"
#include "lmkutils/os/thread.h"

namespace du::internal {
namespace {

// How long a searcher stays awake, in pauses of the processor: some ten microseconds.
constexpr unsigned kSearchPauses = 1000;

}  // namespace

struct TaskQueue::Chunk {
  static constexpr std::size_t kEntries = 4096 / sizeof(void*) - 1;

  Chunk* next = nullptr;
  Task* entries[kEntries];
};

// Walks over the entries that are queued. For the holder of the workers' lock.
class TaskQueue::Cursor {
 public:
  explicit Cursor(const TaskQueue& queue) noexcept
      : chunk_(queue.front_.get()),
        index_(queue.frontIndex_),
        left_(queue.Pushed() - queue.taken_.load(std::memory_order_relaxed)) {}

  bool IsAtEnd() const noexcept { return left_ == 0; }
  Task*& Entry() noexcept {
    if (index_ == Chunk::kEntries) {
      chunk_ = chunk_->next;
      index_ = 0;
    }
    return chunk_->entries[index_];
  }
  void Advance() noexcept {
    ++index_;
    --left_;
  }

 private:
  Chunk* chunk_;
  std::size_t index_;
  std::size_t left_;
};

void TaskQueue::ChunkDeleter::operator()(Chunk* chunk) const noexcept {
  os::HeapFree(chunk);
}

TaskQueue::Chunk* TaskQueue::NewChunk() {
  void* const storage = os::HeapAllocate(sizeof(Chunk));
  if (storage == nullptr) throw std::bad_alloc();
  return new (storage) Chunk;
}

TaskQueue::TaskQueue() : front_(NewChunk()) {
  back_ = front_.get();
}

TaskQueue::~TaskQueue() {
  for (SmartPtr<Task> task; TryPop(task);) task.reset();
  while (front_) front_.reset(front_->next);
}

Admission TaskQueue::Push(Task& task) {
  bool mustWake = false;
  {
    const Guard guard(*this);
    if (admission_ != Admission::kQueue) return admission_;
    Append(&task);
    mustWake = SummonSearcher();
  }
  if (mustWake) Wake();
  return Admission::kQueue;
}

void TaskQueue::SetAdmission(Admission admission) noexcept {
  const Guard guard(*this);
  admission_ = admission;
}

void TaskQueue::PushStopOrders(unsigned count) noexcept {
  bool mustWake = false;
  {
    const Guard guard(*this);
    try {
      for (; count != 0; --count) Append(nullptr);
    } catch (const std::bad_alloc&) {
      hastyStops_.fetch_add(count, std::memory_order_relaxed);
    }
    mustWake = HasEntries() && SummonSearcher();
  }
  if (mustWake) Wake();
}

// The entry's reference is counted before a worker can see the entry, and drop it.
void TaskQueue::Append(Task* entry) {
  if (backIndex_ == Chunk::kEntries) {
    back_->next = NewChunk();
    back_ = back_->next;
    backIndex_ = 0;
  }
  back_->entries[backIndex_++] = SmartPtr<Task>(entry).release();
  pushed_.store(pushed_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

// For the holder of the producers' lock: nothing is pushed meanwhile.
bool TaskQueue::HasEntries() const noexcept {
  return pushed_.load(std::memory_order_relaxed) != taken_.load(std::memory_order_relaxed) ||
         hastyStops_.load(std::memory_order_relaxed) != 0;
}

// Under the producers' lock. Makes a sleeper the searcher, if there is one and no searcher: true when the
// caller is to wake it, after unlocking.
bool TaskQueue::SummonSearcher() noexcept {
  if (hasSearcher_ || sleepers_ == 0) return false;
  --sleepers_;
  hasSearcher_ = true;
  return true;
}

SmartPtr<Task> TaskQueue::Pop() noexcept {
  Task* entry = nullptr;
  if (!Take(entry)) Search(entry);
  return SmartPtr<Task>::Attach(entry);
}

void TaskQueue::Search(Task*& entry) noexcept {
  for (bool isSearcher = BeginSearch();; isSearcher = !AbandonSearch()) {
    if (!isSearcher) Sleep();
    os::BackOff backOff(kSearchPauses);
    do {
      if (Take(entry)) return EndSearch();
    } while (backOff.Pause());
  }
}

// False when there is a searcher: the caller is a sleeper then.
bool TaskQueue::BeginSearch() noexcept {
  const Guard guard(*this);
  if (hasSearcher_) {
    ++sleepers_;
    return false;
  }
  hasSearcher_ = true;
  return true;
}

// True when there is still nothing to do: the searcher is a sleeper then.
bool TaskQueue::AbandonSearch() noexcept {
  const Guard guard(*this);
  if (HasEntries()) return false;
  hasSearcher_ = false;
  ++sleepers_;
  return true;
}

void TaskQueue::EndSearch() noexcept {
  bool mustWake = false;
  {
    const Guard guard(*this);
    hasSearcher_ = false;
    mustWake = HasEntries() && SummonSearcher();
  }
  if (mustWake) Wake();
}

// The sleeper was made the searcher when this returns.
void TaskQueue::Sleep() noexcept {
  for (;;) {
    try {
      if (wake_.Wait(0)) return;
    } catch (const std::runtime_error&) {  // the system fails; what else is there but to try again
      os::YieldThread();
    }
  }
}

void TaskQueue::Wake() noexcept {
  wake_.Signal();
}

bool TaskQueue::TryPop(SmartPtr<Task>& task) noexcept {
  Task* entry = nullptr;
  if (!Take(entry)) return false;
  task = SmartPtr<Task>::Attach(entry);
  return true;
}

bool TaskQueue::TryPopTask(SmartPtr<Task>& task) noexcept {
  const WorkersLock::Guard guard(workersLock_);
  if (Available() == 0 || Cursor(*this).Entry() == nullptr) return false;
  task = SmartPtr<Task>::Attach(TakeFront());
  return true;
}

bool TaskQueue::TryPopBefore(std::size_t end, SmartPtr<Task>& task) noexcept {
  const WorkersLock::Guard guard(workersLock_);
  // Below 0 when others have taken what came behind.
  const auto left = static_cast<std::ptrdiff_t>(end - taken_.load(std::memory_order_relaxed));
  if (left <= 0 || Available() == 0) return false;
  task = SmartPtr<Task>::Attach(TakeFront());
  return true;
}

bool TaskQueue::Take(Task*& entry) noexcept {
  const WorkersLock::Guard guard(workersLock_);
  if (hastyStops_.load(std::memory_order_relaxed) != 0) {
    hastyStops_.fetch_sub(1, std::memory_order_relaxed);
    entry = nullptr;
    return true;
  }
  if (Available() == 0) return false;
  entry = TakeFront();
  return true;
}

// For the holder of the workers' lock, as TakeFront, which it comes before. The producers' cache line is read
// only when all that was known of is taken.
std::size_t TaskQueue::Available() noexcept {
  const std::size_t taken = taken_.load(std::memory_order_relaxed);
  if (knownPushed_ == taken) knownPushed_ = Pushed();
  return knownPushed_ - taken;
}

Task* TaskQueue::TakeFront() noexcept {
  if (frontIndex_ == Chunk::kEntries) {
    front_.reset(front_->next);
    frontIndex_ = 0;
  }
  taken_.store(taken_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  return front_->entries[frontIndex_++];
}

// Moves what stands before the entry one place back, so that the free place comes to the front.
bool TaskQueue::Remove(const Task& task) noexcept {
  SmartPtr<Task> removed;  // dropped when the lock is free
  const WorkersLock::Guard guard(workersLock_);
  if (Available() == 0) return false;
  Cursor found(*this);
  while (!found.IsAtEnd() && found.Entry() != &task) found.Advance();
  if (found.IsAtEnd()) return false;
  removed = SmartPtr<Task>::Attach(found.Entry());
  Task* before = nullptr;
  for (Cursor cursor(*this);; cursor.Advance()) {
    std::swap(before, cursor.Entry());
    if (before == removed.get()) break;
  }
  TakeFront();
  return true;
}

std::size_t TaskQueue::Count() const noexcept {
  const WorkersLock::Guard guard(workersLock_);
  return Pushed() - taken_.load(std::memory_order_relaxed) + hastyStops_.load(std::memory_order_relaxed);
}

}  // namespace du::internal
