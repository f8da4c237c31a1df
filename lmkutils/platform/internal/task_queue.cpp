#include "lmkutils/platform/internal/task_queue.h"

#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include "lmkutils/os/back_off.h"
#include "lmkutils/os/clock.h"
#include "lmkutils/os/memory.h"
#include "lmkutils/os/thread.h"

namespace du::internal {
namespace {

// How long a searcher stays awake, in pauses of the processor: some tens of microseconds.
constexpr unsigned kSearchPauses = 1000;
// How long it gives producers that it outpaces, a microsecond or two.
constexpr unsigned kHeadStartPauses = 64;

// In ticks of the performance counter, which stands still when the system refuses.
std::int64_t Now() noexcept {
  std::int64_t ticks = 0;
  os::ReadCounter(ticks);
  return ticks;
}

// About as long as a search.
bool IsShort(std::int64_t ticks) noexcept {
  static const std::int64_t limit = os::CounterFrequency() / 30'000;
  return ticks <= limit;
}

unsigned Processors() noexcept {
  static const unsigned count = std::thread::hardware_concurrency();
  return count;
}

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
  Bed* woken = nullptr;
  {
    const Guard guard(*this);
    if (admission_ != Admission::kQueue) return admission_;
    Append(&task);
    woken = SummonSearcher();
  }
  Wake(woken);
  return Admission::kQueue;
}

void TaskQueue::SetAdmission(Admission admission) noexcept {
  const Guard guard(*this);
  admission_ = admission;
}

void TaskQueue::PushStopOrders(unsigned count) noexcept {
  Bed* woken = nullptr;
  {
    const Guard guard(*this);
    try {
      for (; count != 0; --count) Append(nullptr);
    } catch (const std::bad_alloc&) {
      hastyStops_.fetch_add(count, std::memory_order_relaxed);
    }
    if (HasEntries()) woken = SummonSearcher();
  }
  Wake(woken);
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

void TaskQueue::BeginWork() noexcept {
  const Guard guard(*this);
  ++awake_;
}

void TaskQueue::EndWork() noexcept {
  const Guard guard(*this);
  --awake_;
}

SmartPtr<Task> TaskQueue::Pop(Bed& bed) noexcept {
  Task* entry = nullptr;
  if (!Take(entry)) Search(bed, entry);
  return SmartPtr<Task>::Attach(entry);
}

void TaskQueue::Search(Bed& bed, Task*& entry) noexcept {
  for (bool isSearcher = BeginSearch(bed);; isSearcher = !AbandonSearch(bed)) {
    while (!isSearcher) {
      WaitForUnit(bed.wake_);
      isSearcher = WakeUp(bed);
    }
    os::BackOff backOff(patience_);
    do {
      if (Take(entry)) return EndSearch();
    } while (backOff.Pause());
  }
}

// -- Under the producers' lock

// Makes a sleeper the searcher, if there is one and no searcher: the caller is to wake it, after unlocking.
TaskQueue::Bed* TaskQueue::SummonSearcher() noexcept {
  if (hasSearcher_ || sleepers_ == nullptr) return nullptr;
  doesSearchPay_ = doesSearchPay_ || IsShort(Now() - quietSince_);
  ++awake_;
  Appoint();
  waking_ = std::exchange(sleepers_, sleepers_->next_);
  return waking_;
}

// Takes the place of a searcher that has yet to wake up: a worker that is awake would otherwise lie down just
// to be woken again. False when there is none.
bool TaskQueue::TakeOverFromSleeper() noexcept {
  if (waking_ == nullptr) return false;
  waking_ = nullptr;
  --awake_;
  return true;
}

// There is no searcher, and shall be one.
void TaskQueue::Appoint() noexcept {
  hasSearcher_ = true;
  patience_ = doesSearchPay_ && awake_ < Processors() ? kSearchPauses : 0;
}

void TaskQueue::LieDown(Bed& bed) noexcept {
  --awake_;
  bed.next_ = std::exchange(sleepers_, &bed);
}

// -- What takes it

// A worker that found more than one entry at a time and yet has none left outpaces the producers. It lets
// them get ahead: to meet at every entry would slow both sides down. False when there is an awake searcher:
// the caller is a sleeper then.
bool TaskQueue::BeginSearch(Bed& bed) noexcept {
  bool isTooFast = false;
  {
    const Guard guard(*this);
    if (hasSearcher_ && !TakeOverFromSleeper()) {
      LieDown(bed);
      return false;
    }
    Appoint();
    isTooFast = taken_.load(std::memory_order_relaxed) != takenAtFind_;
  }
  os::BackOff headStart(isTooFast ? kHeadStartPauses : 0);
  while (headStart.Pause()) {
  }
  return true;
}

// A sleeper was woken, as the searcher. False when another worker took its place and still searches: it is a
// sleeper again then.
bool TaskQueue::WakeUp(Bed& bed) noexcept {
  const Guard guard(*this);
  if (waking_ == &bed) {
    waking_ = nullptr;
    return true;
  }
  ++awake_;
  if (hasSearcher_) {
    LieDown(bed);
    return false;
  }
  Appoint();
  return true;
}

// True when there is still nothing to do: the searcher is a sleeper then.
bool TaskQueue::AbandonSearch(Bed& bed) noexcept {
  const Guard guard(*this);
  if (HasEntries()) return false;
  hasSearcher_ = false;
  if (patience_ != 0) doesSearchPay_ = false;
  quietSince_ = patience_ != 0 ? 0 : Now();
  LieDown(bed);
  return true;
}

void TaskQueue::EndSearch() noexcept {
  Bed* woken = nullptr;
  {
    const Guard guard(*this);
    hasSearcher_ = false;
    takenAtFind_ = taken_.load(std::memory_order_relaxed);
    if (HasEntries()) woken = SummonSearcher();
  }
  Wake(woken);
}

// Its sleeper is the searcher, unless another worker is quicker.
void TaskQueue::Wake(Bed* bed) noexcept {
  if (bed != nullptr) bed->wake_.Signal();
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

void WaitForUnit(dp::Semaphore& semaphore) noexcept {
  for (;;) {
    try {
      if (semaphore.Wait(0)) return;
    } catch (const std::runtime_error&) {  // the system fails; what else is there but to try again
      os::YieldThread();
    }
  }
}

}  // namespace du::internal
