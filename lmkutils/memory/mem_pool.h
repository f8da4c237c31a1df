// du::MemPool: the size-class allocator behind the common allocator.
#ifndef LMKUTILS_MEMORY_MEM_POOL_H
#define LMKUTILS_MEMORY_MEM_POOL_H

#include <atomic>
#include <cstddef>

#include "lmkutils/export.h"
#include "lmkutils/memory/hand_off_malloc_ctrl.h"
#include "lmkutils/memory/mem_pool_block_statistics.h"

namespace du {

class SystemMallocCtrl;

namespace internal {
struct MemPoolState;
struct CommonPools;
}  // namespace internal

// Rounds each request of up to 16384 bytes up to one of a ladder of sizes and serves each size from an
// allocator of its own, made when the size is first needed; hands larger requests to an extra supplier. Any
// thread may allocate and free; a block may be freed by another thread than its maker's. Owned by its maker,
// and outlived by its suppliers.
//
// With "LUMORA_MEM_MAXSPEED_MAXFOOTPRINT" set in the environment pools are made without suppliers, over the
// run-time heap alone, and only count bytes.
class LMK_API MemPool : public HandOffMallocCtrl {
 public:
  // The size classes take blocks from `blockSupplier`; requests that have no class go to `extraSupplier`,
  // null standing for the first. With `keepLargeBlocks` the pool remembers those and gives them back when it
  // is destroyed. Throws std::bad_alloc and what MallocCtrl and MallocCtrlRegistry::RegisterRelationship
  // throw; then nothing remains.
  MemPool(const char* name, SystemMallocCtrl* blockSupplier, SystemMallocCtrl* extraSupplier,
          bool keepLargeBlocks);
  // One supplier for all, large blocks remembered.
  MemPool(const char* name, SystemMallocCtrl* supplier);
  MemPool(const MemPool&) = delete;
  MemPool& operator=(const MemPool&) = delete;
  // Gives all blocks of size classes back, whether in use or not.
  ~MemPool() override;

  // Null when memory is exhausted or the fail flag is set. Size 0 is served by the smallest class. Blocks of
  // a size that is a multiple of 16 lie on 16 bytes, others on 8. The hint is handed on.
  void* Allocate(unsigned size, void* hint) override;
  // `size` is what was asked for; another one puts the block into a wrong class (debug builds report it and
  // end the process, as they do for a block that is freed twice). Null is ignored.
  void Free(void* block, unsigned size) override;

  // What a request of `size` bytes takes from the pool; above 16384 the size itself.
  static unsigned GetRoundedSize(unsigned size) noexcept;

  // 0 bytes allocated; held are the rounded sizes of all blocks in use (large ones and, without pooling, all
  // as requested).
  void GetAllocationStats(unsigned* allocated, unsigned* held) const override;
  // Fills `statistics` with every class that has an allocator, or with `usedOnly` those from which something
  // is in use. A block with less than `sparseBelow` (0 to 1) of its elements in use counts as sparse. Throws
  // std::bad_alloc.
  void GetBlockStatistics(MemPoolBlockStatistics& statistics, float sparseBelow, bool usedOnly = false) const;
  // Whether every class's books agree with themselves.
  bool IsInSaneState() const;
  // Gives blocks from which nothing is in use back to the supplier.
  void PurgeEmptyBlocks();

 private:
  friend struct internal::CommonPools;

  using AllocateRoutine = void* (MemPool::*)(unsigned, void*);
  using FreeRoutine = void (MemPool::*)(void*, unsigned);

  void Initialise(SystemMallocCtrl* blockSupplier, SystemMallocCtrl* extraSupplier, bool keepLargeBlocks);
  void* AllocateFromClasses(unsigned size, void* hint);
  void FreeToClasses(void* block, unsigned size);
  void* AllocateDirectly(unsigned size, void* hint);
  void FreeDirectly(void* block, unsigned size);
  void* AllocateLarge(unsigned size);
  void FreeLarge(void* block, unsigned size);

  internal::MemPoolState* state_ = nullptr;  // null without pooling
  AllocateRoutine allocate_;
  FreeRoutine free_;
  std::atomic<std::size_t> directBytes_{0};
  const bool named_;
};

}  // namespace du

#endif
