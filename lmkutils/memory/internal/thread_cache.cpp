#include "lmkutils/memory/internal/thread_cache.h"

#include <algorithm>
#include <new>

#include "lmkutils/memory/internal/element_store.h"
#include "lmkutils/memory/internal/mem_pool_state.h"
#include "lmkutils/os/memory.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/os/thread_key.h"
#include "lmkutils/platform/internal/scoped_lock.h"

namespace du::internal {
namespace {

using dp::internal::ScopedLock;

// What both keys of a thread hold whose cache is gone: it gets no other. Systems clear one or the other of
// them before or after a callback, not both.
char threadIsEnding;

}  // namespace

constinit CacheSet commonCaches;

ThreadCache* ThreadCache::Make(MemPoolState& state) noexcept {
  void* const storage = os::HeapAllocate(sizeof(ThreadCache) + alignof(ThreadCache));
  if (storage == nullptr) return nullptr;
  const std::size_t beyond = reinterpret_cast<std::uintptr_t>(storage) % alignof(ThreadCache);
  return ::new (static_cast<char*>(storage) + alignof(ThreadCache) - beyond) ThreadCache(state, storage);
}

void ThreadCache::Destroy() noexcept {
  void* const storage = storage_;
  this->~ThreadCache();
  os::HeapFree(storage);
}

ThreadCache::ThreadCache(MemPoolState& state, void* storage) noexcept
    : seen_(attention.WhenCalm()), classes_(ClassTableOf(state.ladder)), state_(state), storage_(storage) {
  for (unsigned sizeClass = 0; sizeClass < ClassCount(state.ladder); ++sizeClass) {
    bins_[sizeClass].SetLimit(2 * BatchOf(sizeClass));
  }
}

unsigned ThreadCache::BatchOf(unsigned sizeClass) const noexcept {
  return BatchSize(LargestSize(state_.ladder, sizeClass));
}

// Whole batches: half of what the list may hold, so that it runs over as seldom as it runs empty, or a
// batch's bytes.
unsigned ThreadCache::RefillOf(unsigned sizeClass) const noexcept {
  const unsigned size = LargestSize(state_.ladder, sizeClass);
  const unsigned batch = BatchSize(size);
  return std::max(1U, std::min(bins_[sizeClass].Limit() / 2, kBatchBytes / size) / batch) * batch;
}

void* ThreadCache::Refill(unsigned sizeClass) {
  ElementAllocator& allocator = state_.ClassAllocator(sizeClass);
  Bin& bin = bins_[sizeClass];
  const unsigned count = RefillOf(sizeClass);
  Chain chain = allocator.TakeMany(count);
  if (chain.head == nullptr) return nullptr;
  RaiseLimit(sizeClass, count);
  void* element = chain.Pop();
  bin.head = chain.head;
  Bin::Add(bin.pushed, chain.count);
  return element;
}

void ThreadCache::RaiseLimit(unsigned sizeClass, unsigned count) noexcept {
  Bin& bin = bins_[sizeClass];
  const std::size_t bytes = std::size_t{count} * LargestSize(state_.ladder, sizeClass);
  if (bin.Limit() + count > kLongest) return;
  if (promised_ + bytes > kBudget) HalveLimits();
  if (promised_ + bytes > kBudget) return;
  bin.SetLimit(bin.Limit() + count);
  promised_ += bytes;
}

void ThreadCache::Overflow(unsigned sizeClass, void* block) noexcept {
  Bin& bin = bins_[sizeClass];
  const unsigned batch = BatchOf(sizeClass);
  GiveBack(sizeClass, batch);
  if (bin.Limit() > 2 * batch && ++bin.overflows > kPatience) {
    bin.SetLimit(bin.Limit() - batch);
    promised_ -= std::size_t{batch} * LargestSize(state_.ladder, sizeClass);
    GiveBack(sizeClass, batch);
  }
  Push(sizeClass, block);
}

void ThreadCache::GiveBack(unsigned sizeClass, std::uint32_t count) noexcept {
  Bin& bin = bins_[sizeClass];
  count = std::min<std::uint32_t>(count, bin.Count());
  if (count == 0) return;
  Chain chain{.head = bin.head, .count = count};
  FreeElement* last = bin.head;
  for (std::uint32_t i = 1; i < count; ++i) last = last->next;
  bin.head = last->next;
  last->next = nullptr;
  Bin::Add(bin.fullAt, count);
  state_.Existing(sizeClass)->GiveMany(chain);
}

void ThreadCache::HalveLimits() noexcept {
  promised_ = 0;
  for (unsigned sizeClass = 0; sizeClass < ClassCount(state_.ladder); ++sizeClass) {
    Bin& bin = bins_[sizeClass];
    const unsigned size = LargestSize(state_.ladder, sizeClass);
    const unsigned batch = BatchSize(size);
    const unsigned limit = std::max(2 * batch, bin.Limit() / 2 / batch * batch);
    promised_ += std::size_t{limit - 2 * batch} * size;
    while (bin.Count() > limit) GiveBack(sizeClass, batch);
    bin.SetLimit(limit);
  }
}

void ThreadCache::Flush() noexcept {
  seen_ = attention.WhenCalm();
  for (unsigned sizeClass = 0; sizeClass < ClassCount(state_.ladder); ++sizeClass) {
    // More than a batch at once goes to where its neighbours are, and is not handed to the next thread as it
    // is.
    const unsigned count = 8 * BatchOf(sizeClass);
    while (bins_[sizeClass].head != nullptr) GiveBack(sizeClass, count);
  }
}

ThreadCache* CacheSet::CurrentOrMake(MemPoolState& state) noexcept {
  if (ThreadCache* cache = ThreadCache::Current()) return cache;
  if (!Prepare()) return nullptr;
  const int key = exitKey_.load(std::memory_order_acquire);
  if (os::ThreadExitKeyGet(key) != nullptr) return nullptr;  // ending
  if (os::ThreadKeyGet(endKey_.load(std::memory_order_acquire)) != nullptr) return nullptr;
  ThreadCache* cache = ThreadCache::Make(state);
  if (cache == nullptr) return nullptr;
  if (!os::ThreadExitKeySet(key, cache) || !os::FastThreadPointerSet(cache)) {
    os::ThreadExitKeySet(key, nullptr);
    cache->Destroy();
    return nullptr;
  }
  const ScopedLock guard(lock_.Get());
  cache->next_ = first_;
  if (first_ != nullptr) first_->previous_ = cache;
  first_ = cache;
  return cache;
}

// False when the system has no means for caches.
bool CacheSet::Prepare() noexcept {
  if (exitKey_.load(std::memory_order_acquire) != os::kNoThreadKey) return true;
  try {
    static_cast<void>(lock_.Get());
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (!PrepareEndKey()) return false;
  const int key = os::ThreadExitKeyCreate(&AtThreadExit);
  if (key == os::kNoThreadKey) return false;
  int expected = os::kNoThreadKey;
  if (!exitKey_.compare_exchange_strong(expected, key, std::memory_order_acq_rel))
    os::ThreadExitKeyDelete(key);
  return true;
}

bool CacheSet::PrepareEndKey() noexcept {
  if (endKey_.load(std::memory_order_acquire) != os::kNoThreadKey) return true;
  const int key = os::ThreadKeyCreate();
  if (key == os::kNoThreadKey) return false;
  int expected = os::kNoThreadKey;
  if (!endKey_.compare_exchange_strong(expected, key, std::memory_order_acq_rel)) os::ThreadKeyDelete(key);
  return true;
}

std::uint64_t CacheSet::CountCached(unsigned sizeClass) const noexcept {
  if (exitKey_.load(std::memory_order_acquire) == os::kNoThreadKey) return 0;
  std::uint64_t count = 0;
  const ScopedLock guard(lock_.Get());
  for (const ThreadCache* cache = first_; cache != nullptr; cache = cache->next_) {
    // Between the readings of its two counters its thread may go on, in either direction.
    count += std::min(cache->bins_[sizeClass].Count(), ThreadCache::kLongest);
  }
  return count;
}

void CacheSet::HoldForFork() noexcept {
  isHeldForFork_ = exitKey_.load(std::memory_order_acquire) != os::kNoThreadKey;
  if (isHeldForFork_) lock_.Get().Lock();
}

void CacheSet::ReleaseAfterFork() noexcept {
  if (isHeldForFork_) lock_.Unlock();
}

// Called again in every round of callbacks, since it sets its value again. In the last one the thread may be
// gone already for a sanitizer, which then survives reading atomic objects, but not changing them.
void CacheSet::AtThreadExit(void* value) noexcept {
  // Perhaps with one of the locks; the process takes the cache along.
  if (value != &threadIsEnding && os::OtherThreadsKilled()) return;
  CacheSet& set = commonCaches;
  const int key = set.exitKey_.load(std::memory_order_acquire);
  // Later frees of this thread, from other keys' callbacks, find no cache and make none.
  os::ThreadExitKeySet(key, &threadIsEnding);
  os::ThreadKeySet(set.endKey_.load(std::memory_order_acquire), &threadIsEnding);
  if (value == &threadIsEnding) return;
  auto* cache = static_cast<ThreadCache*>(value);
  os::FastThreadPointerSet(nullptr);
  if (!attention.IsGone()) cache->Flush();
  {
    const ScopedLock guard(set.lock_.Get());
    if (cache->previous_ != nullptr) {
      cache->previous_->next_ = cache->next_;
    } else {
      set.first_ = cache->next_;
    }
    if (cache->next_ != nullptr) cache->next_->previous_ = cache->previous_;
  }
  cache->Destroy();
}

}  // namespace du::internal
