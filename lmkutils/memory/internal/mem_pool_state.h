// What a pooling du::MemPool keeps; its storage is one block of the pool's own block supplier.
#ifndef LMKUTILS_MEMORY_INTERNAL_MEM_POOL_STATE_H
#define LMKUTILS_MEMORY_INTERNAL_MEM_POOL_STATE_H

#include <array>
#include <atomic>
#include <cstdint>

#include "lmkutils/memory/element_allocator.h"
#include "lmkutils/memory/internal/block_ledger.h"
#include "lmkutils/memory/internal/malloc_backed.h"
#include "lmkutils/memory/internal/size_classes.h"
#include "lmkutils/platform/spin_lock.h"
#include "lmkutils/text/hash_map.h"

namespace du {
class MemPool;
class SystemMallocCtrl;
}  // namespace du

namespace du::internal {

class CacheSet;

struct LargeBlockHash {
  std::size_t operator()(const void* block) const noexcept {
    return reinterpret_cast<std::size_t>(block) >> 4;
  }
};

// The blocks beyond the largest class, and their sizes as requested.
using LargeBlocks = HashMap<void*, unsigned, LargeBlockHash, std::equal_to<void*>,
                            MallocBacked<std::pair<void* const, unsigned>>>;

struct MemPoolState {
  MemPoolState(MemPool& owner, const char* poolName, SystemMallocCtrl* block, SystemMallocCtrl* extra,
               bool keep)
      : keepLargeBlocks(keep), blockSupplier(block), extraSupplier(extra), pool(owner), name(poolName) {
    dp::internal::RequireUsable(lock);
  }

  const bool keepLargeBlocks;
  SystemMallocCtrl* const blockSupplier;
  SystemMallocCtrl* const extraSupplier;
  // By class; null until the class is first used. Classes below the ladder's small ones stand in the first
  // table.
  std::array<std::atomic<ElementAllocator*>, kMaxSmallClasses> smallClasses{};
  std::array<std::atomic<ElementAllocator*>, kLargeTableClasses> otherClasses{};
  std::atomic<std::uint64_t> largeBytes{0};
  std::atomic<std::uint64_t> largeCount{0};
  dp::SpinLock lock{500};  // guards largeBlocks
  LargeBlocks largeBlocks;

  MemPool& pool;
  const char* const name;  // for the labels of the classes; null prints as "-"
  const Ladder ladder = ProcessLadder();
  const CacheSet* caches = nullptr;  // the threads' caches in front of the classes, if there are any

  // Debug builds check with the list what comes back.
  bool NotesLargeBlocks() const noexcept { return keepLargeBlocks || kHasLedger; }

  std::atomic<ElementAllocator*>& Slot(unsigned sizeClass) noexcept {
    const unsigned small = ShapeOf(ladder).smallClasses;
    return sizeClass < small ? smallClasses[sizeClass] : otherClasses[sizeClass - small];
  }

  ElementAllocator* Existing(unsigned sizeClass) noexcept {
    return Slot(sizeClass).load(std::memory_order_acquire);
  }

  // The allocator of a class, made at its first use. Throws std::bad_alloc.
  ElementAllocator& ClassAllocator(unsigned sizeClass) {
    ElementAllocator* allocator = Existing(sizeClass);
    return allocator != nullptr ? *allocator : MakeClassAllocator(sizeClass);
  }

  template <class Visitor>
  void ForEachClass(Visitor visit) {
    for (unsigned sizeClass = 0; sizeClass < ClassCount(ladder); ++sizeClass) {
      if (ElementAllocator* allocator = Existing(sizeClass)) visit(*allocator);
    }
  }

 private:
  ElementAllocator& MakeClassAllocator(unsigned sizeClass);
};

}  // namespace du::internal

#endif
