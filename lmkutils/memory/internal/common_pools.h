// The three controls of the common allocator.
#ifndef LMKUTILS_MEMORY_INTERNAL_COMMON_POOLS_H
#define LMKUTILS_MEMORY_INTERNAL_COMMON_POOLS_H

#include "lmkutils/memory/internal/mem_pool_state.h"
#include "lmkutils/memory/internal/thread_cache.h"
#include "lmkutils/memory/mem_pool.h"
#include "lmkutils/memory/system_allocator.h"

namespace du::internal {

struct CommonPools {
  // Made on first use. Throws dp::DeadReference after the end, std::bad_alloc.
  static CommonPools& Instance();

  // Null before the first use and after the end.
  static CommonPools* Existing() noexcept;

  CommonPools() {
    if (MemPoolState* state = State()) state->caches = &commonCaches;
  }

  // Null without pooling.
  MemPoolState* State() noexcept { return pool.state_; }

  SystemAllocator<LockedSystemAllocatorPolicy,
                  DefaultPageRequestPolicy<0x100000, 0x1000000, 32, 0x2000, MemoryMap>>
      blocks{"Common Block Allocator"};
  SystemAllocator<LockedSystemAllocatorPolicy,
                  DefaultPageRequestPolicy<0x100000, 0x1000000, 32, 0x400, MemoryMap>>
      extra{"Common Extra Allocator"};
  MemPool pool{"Common Mem Pool", &blocks, &extra, false};
};

// What the common allocator does when a thread's cache cannot serve it at once. The first throws
// std::bad_alloc and dp::DeadReference; the second takes no null.
void* AllocateTheLongWay(unsigned size, void* hint);
void DeallocateTheLongWay(void* block, unsigned size) noexcept;

// Gives back what is empty: the calling thread's cache now, the others at their next request.
void PurgeCommonPools();

}  // namespace du::internal

#endif
