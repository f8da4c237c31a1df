#include "lmkutils/memory/internal/common_pools.h"

#include <new>

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/memory/internal/attention.h"
#include "lmkutils/memory/internal/block_ledger.h"
#include "lmkutils/memory/internal/direct_heap.h"
#include "lmkutils/memory/internal/page_map.h"
#include "lmkutils/memory/internal/pool_fork.h"
#include "lmkutils/memory/internal/shortage.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/os/process_end.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/singleton.h"

namespace du::internal {
namespace {

// Static: the pools must not need an allocator, and what they gave out is still read when they are gone.
alignas(CommonPools) unsigned char storage[sizeof(CommonPools)];

struct CommonTraits {
  using Object = CommonPools;
  static void Prepare() { MallocCtrlRegistry::Instance(); }
  static Object* Create() {
    auto* const pools = ::new (storage) CommonPools;
    PoolFork::AddHooks();
    return pools;
  }
  static void Destroy(Object* pools) noexcept {
    if (!dp::internal::Singleton<CommonTraits>::IsDestroyed()) {  // their end could not be scheduled
      pools->~CommonPools();
      return;
    }
    attention.NoteGone();
    // At the end of the process everything stays mapped and as it is: other threads may still read a text,
    // and objects that die later may give blocks back, which then does nothing.
    if (!os::ProcessIsEnding()) pools->~CommonPools();
  }
  static unsigned Longevity() noexcept { return GetLongevity(static_cast<CommonAllocatorImpl*>(nullptr)); }
};

using CommonSingleton = dp::internal::Singleton<CommonTraits>;

// The cache to use after all, when the short way was not open: null when the long way is the only one.
ThreadCache* UsableCache(CommonPools& pools) noexcept {
  if (!attention.IsCalm()) return nullptr;
  MemPoolState* state = pools.State();
  if (state == nullptr) return nullptr;
  ThreadCache* cache = commonCaches.CurrentOrMake(*state);
  if (cache != nullptr && !cache->IsSettled()) cache->Flush();
  return cache;
}

// For a thread whose fellows were killed, perhaps with locks of the pools: what its own cache has, else new
// memory, which goes with the process.
void* AllocateWithoutLocks(unsigned size) noexcept {
  ThreadCache* cache = size <= kLargestClassSize ? ThreadCache::Current() : nullptr;
  void* block = cache != nullptr ? cache->Pop(cache->ClassOf(size)) : nullptr;
  if (block == nullptr) return DirectAllocate(size);
  NoteHandedOut(block);
  return block;
}

void KeepWithoutLocks(void* block, unsigned size) noexcept {
  ThreadCache* cache = ThreadCache::Current();
  const Span* span = pageMap.Find(block);
  if (span == nullptr) {  // not of the pools, or too large for a class
    if (DirectMode() || size <= kLargestClassSize) DirectFree(block, size);
    return;
  }
  if (cache == nullptr || size > kLargestClassSize) return;
  NoteReturned(block, span->owner, span->owner->GetName());
  cache->Push(cache->ClassOf(size), block);
}

}  // namespace

CommonPools& CommonPools::Instance() {
  return CommonSingleton::Instance();
}

CommonPools* CommonPools::Existing() noexcept {
  return CommonSingleton::Existing();
}

void* AllocateTheLongWay(unsigned size, void* hint) {
  CommonPools& pools = CommonSingleton::Instance();
  if (shortage.Strikes()) throw std::bad_alloc();
  void* block = nullptr;
  ThreadCache* cache = nullptr;
  if (os::OtherThreadsKilled()) {
    block = AllocateWithoutLocks(size);
  } else if (size <= kLargestClassSize && (cache = UsableCache(pools)) != nullptr) {
    const unsigned sizeClass = cache->ClassOf(size);
    block = cache->Pop(sizeClass);
    if (block == nullptr) block = cache->Refill(sizeClass);
    NoteHandedOut(block);
  } else {
    block = pools.pool.Allocate(size, hint);
  }
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void DeallocateTheLongWay(void* block, unsigned size) noexcept {
  CommonPools* pools = CommonSingleton::Existing();
  if (pools == nullptr) {
    if (DirectMode()) DirectFree(block, size);
    return;
  }
  if (os::OtherThreadsKilled()) {
    KeepWithoutLocks(block, size);
    return;
  }
  ThreadCache* cache = size <= kLargestClassSize ? UsableCache(*pools) : nullptr;
  if (cache == nullptr) {
    pools->pool.Free(block, size);
    return;
  }
  const unsigned sizeClass = cache->ClassOf(size);
  NoteReturned(block, pools->State()->Existing(sizeClass), pools->pool.GetName());
  if (!cache->Push(sizeClass, block)) cache->Overflow(sizeClass, block);
}

void PurgeCommonPools() {
  CommonPools& pools = CommonSingleton::Instance();
  attention.RequestPurge();
  UsableCache(pools);  // empties the calling thread's
  pools.pool.PurgeEmptyBlocks();
  pools.blocks.PurgeEmptyBlocks();
  pools.extra.PurgeEmptyBlocks();
}

}  // namespace du::internal
