#include "lmkutils/platform/internal/thread_records.h"

#include <new>

#include "lmkutils/os/memory.h"

namespace dp::internal {

ThreadRecords::~ThreadRecords() {
  for (const auto& list : lists_) {
    ThreadRecord* record = list.load(std::memory_order_acquire);
    while (record != nullptr) {
      ThreadRecord* const next = record->next;
      os::HeapFree(record);
      record = next;
    }
  }
}

// Tokens are addresses or numbers with equal low bits; multiplicative hashing (Knuth) spreads them.
std::size_t ThreadRecords::ListOf(std::uintptr_t thread) noexcept {
  static_assert(kLists == 8);
  return static_cast<std::size_t>((std::uint64_t{thread} * 0x9E3779B97F4A7C15) >> 61);
}

ThreadRecord* ThreadRecords::Find(std::uintptr_t thread) const noexcept {
  ThreadRecord* record = lists_[ListOf(thread)].load(std::memory_order_acquire);
  while (record != nullptr && record->owner.load(std::memory_order_relaxed) != thread) record = record->next;
  return record;
}

ThreadRecord* ThreadRecords::Claim(ThreadRecord* first, std::uintptr_t thread) noexcept {
  for (ThreadRecord* record = first; record != nullptr; record = record->next) {
    std::uintptr_t nobody = 0;
    if (record->owner.load(std::memory_order_relaxed) == nobody &&
        record->owner.compare_exchange_strong(nobody, thread, std::memory_order_acquire,
                                              std::memory_order_relaxed)) {
      return record;
    }
  }
  return nullptr;
}

ThreadRecord& ThreadRecords::Obtain(std::uintptr_t thread) {
  if (ThreadRecord* const own = Find(thread)) return *own;
  std::atomic<ThreadRecord*>& list = lists_[ListOf(thread)];
  ThreadRecord* first = list.load(std::memory_order_acquire);
  if (ThreadRecord* const claimed = Claim(first, thread)) return *claimed;

  void* const storage = os::HeapAllocate(sizeof(ThreadRecord));
  if (storage == nullptr) throw std::bad_alloc();
  ThreadRecord* const fresh = new (storage) ThreadRecord{thread, 0, 0, first};
  while (
      !list.compare_exchange_weak(fresh->next, fresh, std::memory_order_release, std::memory_order_relaxed)) {
  }
  return *fresh;
}

void ThreadRecords::GiveUpIfIdle(ThreadRecord& record) noexcept {
  if (record.readDepth == 0 && record.writeDepth == 0) record.owner.store(0, std::memory_order_release);
}

std::size_t ThreadRecords::Count() const noexcept {
  std::size_t count = 0;
  for (const auto& list : lists_) {
    for (const ThreadRecord* record = list.load(std::memory_order_acquire); record != nullptr;
         record = record->next) {
      ++count;
    }
  }
  return count;
}

}  // namespace dp::internal
