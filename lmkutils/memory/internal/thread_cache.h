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
// list is refilled with a batch or some from the class's allocator, an overlong one gives a batch back. How
// long a list may get is learned: two batches at first; as much more as it asked for whenever it ran empty,
// until the lists together might hold kBudget bytes more, whereupon all are cut to half; a batch less when it
// ran over time and again, as where one thread frees what another allocates. (The scheme is that of S.
// Ghemawat and P. Menage, TCMalloc.) A list that grows thus takes ever more at once, which lies together: two
// threads at work on small objects of their own seldom share a line of the processors' caches.
//
// A block freed by another thread than its maker's goes into the freeing thread's list and returns to its
// span with some batch. Only the owning thread touches a cache; others read the counts.
class alignas(64) ThreadCache {
 public:
  // The calling thread's cache; null before its first request and after its end.
  static ThreadCache* Current() noexcept { return static_cast<ThreadCache*>(os::FastThreadPointerGet()); }

  // Whether nothing happened since the cache last looked that forbids the short way.
  bool IsSettled() const noexcept { return seen_ == attention.Get(); }

  // The class of a request of up to kLargestClassSize bytes.
  unsigned ClassOf(unsigned size) const noexcept { return classes_.ClassOf(size); }

  // An element of the class; null when the list is empty.
  void* Pop(unsigned sizeClass) noexcept {
    Bin& bin = bins_[sizeClass];
    FreeElement* element = bin.head;
    if (element == nullptr) return nullptr;
    bin.head = element->next;
    Bin::Add(bin.fullAt, 1);
    return element;
  }

  // Keeps an element; false when the list is full.
  bool Push(unsigned sizeClass, void* block) noexcept {
    Bin& bin = bins_[sizeClass];
    const std::uint16_t pushed = bin.pushed.load(std::memory_order_relaxed);
    if (pushed == bin.fullAt.load(std::memory_order_relaxed)) return false;
    bin.head = ::new (block) FreeElement{bin.head};
    bin.pushed.store(static_cast<std::uint16_t>(pushed + 1), std::memory_order_relaxed);
    return true;
  }

  // Pop from an empty list: fetches some first. Null when the class is exhausted. Throws std::bad_alloc
  // when the class's allocator cannot be made.
  void* Refill(unsigned sizeClass);
  // Push into a full list.
  void Overflow(unsigned sizeClass, void* block) noexcept;
  // Gives everything back; the cache is settled then, unless a flag is up.
  void Flush() noexcept;

 private:
  friend class CacheSet;

  // Of what came and what went each has a counter of its own, so that the processor need not wait for the one
  // operation to write what the other reads. Both run over, their difference does not. Other threads may read
  // them. A bin never lies across two lines of the processor's cache.
  struct alignas(16) Bin {
    FreeElement* head = nullptr;
    std::atomic<std::uint16_t> pushed{0};
    std::atomic<std::uint16_t> fullAt{0};  // how many were popped, and `limit`: what `pushed` stops at
    std::atomic<std::uint16_t> limit{0};   // of the list's length, which is never beyond
    std::uint16_t overflows = 0;           // since the limit last changed

    std::uint16_t Count() const noexcept {
      return static_cast<std::uint16_t>(pushed.load(std::memory_order_relaxed) -
                                        fullAt.load(std::memory_order_relaxed) + Limit());
    }
    unsigned Limit() const noexcept { return limit.load(std::memory_order_relaxed); }
    void SetLimit(unsigned value) noexcept {
      Add(fullAt, value - Limit());
      limit.store(static_cast<std::uint16_t>(value), std::memory_order_relaxed);
      overflows = 0;
    }
    static void Add(std::atomic<std::uint16_t>& counter, std::size_t count) noexcept {
      counter.store(static_cast<std::uint16_t>(counter.load(std::memory_order_relaxed) + count),
                    std::memory_order_relaxed);
    }
  };
  static constexpr std::size_t kBudget = std::size_t{1} << 19;  // bytes beyond two batches of each class
  static constexpr std::uint16_t kLongest = 8192;
  static constexpr std::uint16_t kPatience = 3;  // overflows before a limit is lowered

  // Null when there is no memory for one.
  static ThreadCache* Make(MemPoolState& state) noexcept;
  void Destroy() noexcept;
  ThreadCache(MemPoolState& state, void* storage) noexcept;
  unsigned BatchOf(unsigned sizeClass) const noexcept;
  unsigned RefillOf(unsigned sizeClass) const noexcept;
  void RaiseLimit(unsigned sizeClass, unsigned count) noexcept;
  void GiveBack(unsigned sizeClass, std::uint32_t count) noexcept;
  void HalveLimits() noexcept;

  std::size_t seen_;
  const ClassTable& classes_;
  MemPoolState& state_;
  void* const storage_;  // as the run-time heap gave it; lines of the cache are not shared with other threads
  std::size_t promised_ = 0;  // what the limits allow beyond the first batches, in bytes
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
  bool PrepareEndKey() noexcept;

  mutable dp::internal::LazySpinLock lock_;  // guards first_ and the links; there before the first cache
  ThreadCache* first_ = nullptr;
  bool isHeldForFork_ = false;                  // a fork is under way, and the lock was there when it began
  std::atomic<int> endKey_{os::kNoThreadKey};   // a plain key: marks threads that are ending
  std::atomic<int> exitKey_{os::kNoThreadKey};  // its callback empties the thread's cache
};

extern constinit CacheSet commonCaches;

}  // namespace du::internal

#endif
