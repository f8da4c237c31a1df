// From an address to the span that it lies in.
#ifndef LMKUTILS_MEMORY_INTERNAL_PAGE_MAP_H
#define LMKUTILS_MEMORY_INTERNAL_PAGE_MAP_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "lmkutils/os/memory.h"

namespace du::internal {

struct Span;

// A two-level table over the whole address space in steps of 8 KiB. Entries of different spans may be set
// and read at the same time from any threads; leaves are made on demand and stay. One exists for the process.
class PageMap {
 public:
  static constexpr unsigned kPageShift = 13;
  static constexpr std::size_t kPageSize = std::size_t{1} << kPageShift;

  // Notes `span` for whole pages of memory. False, changing nothing, when a leaf cannot be made.
  bool Set(const void* base, std::size_t bytes, Span* span) noexcept;
  // Forgets `span`, noted for these pages. Those that have another span by now keep it.
  void Clear(const void* base, std::size_t bytes, Span* span) noexcept;

  // The span around `address`; null when there is none.
  Span* Find(const void* address) const noexcept {
    const std::uintptr_t page = reinterpret_cast<std::uintptr_t>(address) >> kPageShift;
    const std::size_t root = page >> kLeafBits;
    if (root >= roots_.size()) return nullptr;
    const Leaf* leaf = roots_[root].load(std::memory_order_acquire);
    return leaf != nullptr ? (*leaf)[page & kLeafMask].load(std::memory_order_relaxed) : nullptr;
  }

 private:
  static constexpr unsigned kAddressBits = sizeof(void*) == 8 ? 48 : 32;
  static constexpr unsigned kLeafBits = sizeof(void*) == 8 ? 17 : 10;
  static constexpr std::size_t kLeafMask = (std::size_t{1} << kLeafBits) - 1;
  using Leaf = std::array<std::atomic<Span*>, std::size_t{1} << kLeafBits>;

  Leaf* LeafFor(std::size_t root) noexcept;

  std::array<std::atomic<Leaf*>, std::size_t{1} << (kAddressBits - kPageShift - kLeafBits)> roots_{};
};

// The process's map; constant-initialised.
extern constinit PageMap pageMap;

}  // namespace du::internal

#endif
