// Free elements that each thread keeps for itself, in front of the common pool's size classes.
#ifndef LMKUTILS_MEMORY_INTERNAL_THREAD_CACHE_H
#define LMKUTILS_MEMORY_INTERNAL_THREAD_CACHE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "lmkutils/memory/internal/attention.h"
#include "lmkutils/memory/internal/size_classes.h"
#include "lmkutils/memory/internal/span_store.h"
#include "lmkutils/os/fast_thread_pointer.h"
#include "lmkutils/os/thread_key.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"

namespace du::internal {

class CacheSet;
struct MemPoolState;

// One list of free elements a size class, popped and pushed without a lock or an atomic operation. An empty
// list is refilled with a batch from the class's allocator, an overlong one gives a batch back. How long a
// list may get is learned: it grows by a batch whenever it runs over, until the lists together might hold
// kBudget bytes, whereupon all are cut to half. (The scheme is that of S. Ghemawat and P. Menage, TCMalloc.)
//
// A block freed by another thread than its maker's goes into the freeing thread's list and returns to its
// span with some batch. Only the owning thread touches a cache; others read the counts.
class ThreadCache {
 public:
  // The calling thread's cache; null before its first request and after its end.
  static ThreadCache* Current() noexcept { return static_cast<ThreadCache*>(os::FastThreadPointerGet()); }

  // Whether nothing happened since the cache last looked that forbids the short way.
  bool IsSettled() const noexcept { return seen_ == attention.Get(); }

  unsigned ClassWithin(unsigned size) const noexcept { return internal::ClassWithin(shape_, size); }

  // An element of the class; null when the list is empty.
  void* Pop(unsigned sizeClass) noexcept {
    Bin& bin = bins_[sizeClass];
    FreeElement* element = bin.head;
    if (element == nullptr) return nullptr;
    bin.head = element->next;
    bin.count.store(bin.count.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    return element;
  }

  // Keeps an element; false when the list is full.
  bool Push(unsigned sizeClass, void* block) noexcept {
    Bin& bin = bins_[sizeClass];
    const std::uint32_t count = bin.count.load(std::memory_order_relaxed);
    if (count >= bin.limit) return false;
    bin.head = ::new (block) FreeElement{bin.head};
    bin.count.store(count + 1, std::memory_order_relaxed);
    return true;
  }

  // Pop from an empty list: fetches a batch first. Null when the class is exhausted. Throws std::bad_alloc
  // when the class's allocator cannot be made.
  void* Refill(unsigned sizeClass);
  // Push into a full list.
  void Overflow(unsigned sizeClass, void* block) noexcept;
  // Gives everything back; the cache is settled then, unless a flag is up.
  void Flush() noexcept;

 private:
  friend class CacheSet;

  struct Bin {
    FreeElement* head = nullptr;
    std::atomic<std::uint32_t> count{0};
    std::uint32_t limit = 0;
  };
  static constexpr std::size_t kBudget = std::size_t{4} << 20;  // bytes

  explicit ThreadCache(MemPoolState& state) noexcept;
  void GiveBack(unsigned sizeClass, std::uint32_t count) noexcept;
  void HalveLimits() noexcept;

  std::size_t seen_;
  const LadderShape shape_;
  MemPoolState& state_;
  std::size_t promised_ = 0;  // the sum of all limits, in bytes
  ThreadCache* previous_ = nullptr;
  ThreadCache* next_ = nullptr;
  std::array<Bin, kMaxClasses> bins_;
};

// All caches of the process. Constant-initialised, used to the very end.
class CacheSet {
 public:
  // The calling thread's cache, made if need be; null when there is no memory for one or the thread is
  // ending.
  ThreadCache* CurrentOrMake(MemPoolState& state) noexcept;

  // Around a fork: no thread changes the set meanwhile.
  void HoldForFork() noexcept;
  void ReleaseAfterFork() noexcept;

  // Free elements of a class in all caches; approximate while their threads go on.
  std::uint64_t CountCached(unsigned sizeClass) const noexcept;

 private:
  static void AtThreadExit(void* cache) noexcept;
  bool Prepare() noexcept;

  mutable dp::internal::LazySpinLock lock_;  // guards first_ and the links; there before the first cache
  ThreadCache* first_ = nullptr;
  bool isHeldForFork_ = false;  // a fork is under way, and the lock was there when it began
  std::atomic<int> exitKey_{os::kNoThreadKey};
};

extern constinit CacheSet commonCaches;

}  // namespace du::internal

#endif
