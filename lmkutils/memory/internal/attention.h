// Tells the threads' caches when their short way is not to be taken.
#ifndef LMKUTILS_MEMORY_INTERNAL_ATTENTION_H
#define LMKUTILS_MEMORY_INTERNAL_ATTENTION_H

#include <atomic>

namespace du::internal {

// One word that each cached request compares with the value that its cache last acted upon. A cache never
// takes over a value with one of the two flags, so while one is set every request goes the long way, where it
// is decided what holds.
class Attention {
 public:
  static constexpr unsigned kSomeControlFails = 1;
  static constexpr unsigned kAllocatorGone = 2;
  static constexpr unsigned kFlags = kSomeControlFails | kAllocatorGone;

  unsigned Get() const noexcept { return word_.load(std::memory_order_relaxed); }

  // A control's fail flag was set, or cleared.
  void AddFailing() noexcept;
  void RemoveFailing() noexcept;
  // Caches are to be emptied.
  void RequestPurge() noexcept { word_.fetch_add(kFlags + 1, std::memory_order_relaxed); }
  // The common allocator has come to its end.
  void NoteGone() noexcept { word_.fetch_or(kAllocatorGone, std::memory_order_relaxed); }

 private:
  std::atomic<unsigned> word_{0};
  std::atomic<unsigned> failing_{0};
};

extern constinit Attention attention;

}  // namespace du::internal

#endif
