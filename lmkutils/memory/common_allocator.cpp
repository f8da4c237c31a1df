#include "lmkutils/memory/common_allocator.h"

#include "lmkutils/memory/internal/block_ledger.h"
#include "lmkutils/memory/internal/common_pools.h"
#include "lmkutils/memory/internal/thread_cache.h"

namespace du {

void* CommonAllocatorImpl::Allocate(unsigned size, void* hint) {
  internal::ThreadCache* cache = internal::ThreadCache::Current();
  if (cache != nullptr && cache->IsSettled() && size <= internal::kLargestClassSize) [[likely]] {
    if (void* block = cache->Pop(cache->ClassOf(size))) [[likely]] {
      internal::NoteHandedOut(block);
      return block;
    }
  }
  return internal::AllocateTheLongWay(size, hint);
}

void CommonAllocatorImpl::Deallocate(void* block, unsigned size) noexcept {
  if (block == nullptr) [[unlikely]]
    return;
  internal::ThreadCache* cache = internal::ThreadCache::Current();
  // With a ledger the long way finds out first whose block it is.
  if (internal::kHasLedger || cache == nullptr || !cache->IsSettled() || size > internal::kLargestClassSize ||
      !cache->Push(cache->ClassOf(size), block)) [[unlikely]] {
    internal::DeallocateTheLongWay(block, size);
  }
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
