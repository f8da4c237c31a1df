// Tells the threads' caches when their short way is not to be taken.
#ifndef LMKUTILS_MEMORY_INTERNAL_ATTENTION_H
#define LMKUTILS_MEMORY_INTERNAL_ATTENTION_H

#include <atomic>
#include <cstddef>

namespace du::internal {

// One word that each cached request compares with the value that its cache last acted upon. A cache never
// takes over a value that says more than how often was purged, so while a control fails, or the allocator is
// gone, every request goes the long way, where it is decided what holds.
class Attention {
 public:
  std::size_t Get() const noexcept { return word_.load(std::memory_order_relaxed); }
  // What Get returns, now or later, while nothing but purges was asked for.
  std::size_t WhenCalm() const noexcept { return Get() & ~(kPurge - 1); }
  bool IsCalm() const noexcept { return (Get() & (kPurge - 1)) == 0; }

  // A control's fail flag was set, or cleared.
  void AddFailing() noexcept { word_.fetch_add(kFailing, std::memory_order_relaxed); }
  void RemoveFailing() noexcept { word_.fetch_sub(kFailing, std::memory_order_relaxed); }
  // Caches are to be emptied.
  void RequestPurge() noexcept { word_.fetch_add(kPurge, std::memory_order_relaxed); }
  // The common allocator has come to its end.
  void NoteGone() noexcept { word_.fetch_or(kGone, std::memory_order_relaxed); }
  bool IsGone() const noexcept { return (Get() & kGone) != 0; }

 private:
  // From the lowest bit: the end, how many controls fail, how often was purged. An address space of 32 bits
  // has no room for so many controls that their number would run into the purges, which may run over.
  static constexpr std::size_t kGone = 1;
  static constexpr std::size_t kFailing = 2;
  static constexpr std::size_t kPurge = std::size_t{1} << (sizeof(std::size_t) == 8 ? 34 : 26);

  std::atomic<std::size_t> word_{0};
};

extern constinit Attention attention;

}  // namespace du::internal

#endif
