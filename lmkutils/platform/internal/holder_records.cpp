#include "lmkutils/platform/internal/holder_records.h"

#include <new>

#include "lmkutils/os/memory.h"

namespace dp::internal {

HolderRecords::~HolderRecords() {
  Listed* item = list_.load(std::memory_order_acquire);
  while (item != nullptr) {
    Listed* const next = item->next;
    os::HeapFree(item);
    item = next;
  }
}

HolderRecord& HolderRecords::ClaimFromList(std::uintptr_t thread) {
  for (Listed* item = list_.load(std::memory_order_acquire); item != nullptr; item = item->next) {
    std::uintptr_t nobody = 0;
    if (item->record.owner.load(std::memory_order_relaxed) == nobody &&
        item->record.owner.compare_exchange_strong(nobody, thread, std::memory_order_acquire,
                                                   std::memory_order_relaxed)) {
      return item->record;
    }
  }
  void* const storage = os::HeapAllocate(sizeof(Listed));
  if (storage == nullptr) throw std::bad_alloc();
  Listed* const fresh = new (storage) Listed;
  fresh->record.owner.store(thread, std::memory_order_relaxed);
  fresh->next = list_.load(std::memory_order_relaxed);
  while (!list_.compare_exchange_weak(fresh->next, fresh, std::memory_order_release,
                                      std::memory_order_relaxed)) {
  }
  return fresh->record;
}

std::size_t HolderRecords::ListLength() const noexcept {
  std::size_t count = 0;
  for (Listed* item = list_.load(std::memory_order_acquire); item != nullptr; item = item->next) ++count;
  return count;
}

HolderRecord* HolderRecords::FindInList(std::uintptr_t thread) noexcept {
  for (Listed* item = list_.load(std::memory_order_acquire); item != nullptr; item = item->next) {
    if (item->record.owner.load(std::memory_order_relaxed) == thread) return &item->record;
  }
  return nullptr;
}

}  // namespace dp::internal
