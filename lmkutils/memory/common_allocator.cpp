#include "lmkutils/memory/common_allocator.h"

#include "lmkutils/memory/internal/common_pools.h"
#include "lmkutils/memory/internal/thread_cache.h"

namespace du {

void* CommonAllocatorImpl::Allocate(unsigned size, void* hint) {
#ifdef NDEBUG
  internal::ThreadCache* cache = internal::ThreadCache::Current();
  if (cache != nullptr && cache->IsSettled()) [[likely]] {
    if (void* block = cache->Pop(cache->ClassOf(size))) [[likely]]
      return block;
  }
#endif
  return internal::AllocateTheLongWay(size, hint);
}

void CommonAllocatorImpl::Deallocate(void* block, unsigned size) noexcept {
  if (block == nullptr) return;
#ifdef NDEBUG
  internal::ThreadCache* cache = internal::ThreadCache::Current();
  if (cache != nullptr && cache->IsSettled()) [[likely]] {
    if (cache->Push(cache->ClassOf(size), block)) [[likely]]
      return;
  }
#endif
  internal::DeallocateTheLongWay(block, size);
}

unsigned CommonAllocatorImpl::GetRoundedSize(unsigned size) noexcept {
  return MemPool::GetRoundedSize(size);
}

void CommonAllocatorImpl::PurgeEmptyBlocks() {
  internal::PurgeCommonPools();
}

void CommonAllocatorImpl::GetBlockStatistics(MemPoolBlockStatistics& statistics, float sparseBelow,
                                             bool usedOnly) {
  internal::CommonPools::Instance().pool.GetBlockStatistics(statistics, sparseBelow, usedOnly);
}

unsigned GetLongevity(CommonAllocatorImpl*) noexcept {
  return 0xFFFFFFFEU;
}

}  // namespace du
