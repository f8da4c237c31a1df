#include "lmkutils/memory/internal/page_map.h"

#include "lmkutils/os/virtual_memory.h"

namespace du::internal {

constinit PageMap pageMap;

PageMap::Leaf* PageMap::LeafFor(std::size_t root) noexcept {
  if (Leaf* leaf = roots_[root].load(std::memory_order_acquire)) return leaf;
  // Straight from the system: zeroed, and physical only where it is touched.
  auto* fresh = static_cast<Leaf*>(os::PagesMap(nullptr, sizeof(Leaf)));
  if (fresh == nullptr) return nullptr;
  Leaf* installed = nullptr;
  if (roots_[root].compare_exchange_strong(installed, fresh, std::memory_order_acq_rel)) return fresh;
  os::PagesUnmap(fresh, sizeof(Leaf));
  return installed;
}

bool PageMap::Set(const void* base, std::size_t bytes, Span* span) noexcept {
  const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(base) >> kPageShift;
  const std::uintptr_t end = first + (bytes >> kPageShift);
  for (std::uintptr_t page = first; page != end; ++page) {
    if ((page >> kLeafBits) >= roots_.size() || LeafFor(page >> kLeafBits) == nullptr) return false;
  }
  for (std::uintptr_t page = first; page != end; ++page) {
    (*LeafFor(page >> kLeafBits))[page & kLeafMask].store(span, std::memory_order_relaxed);
  }
  return true;
}

void PageMap::Clear(const void* base, std::size_t bytes, Span* span) noexcept {
  const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(base) >> kPageShift;
  const std::uintptr_t end = first + (bytes >> kPageShift);
  for (std::uintptr_t page = first; page != end; ++page) {
    Span* noted = span;
    (*LeafFor(page >> kLeafBits))[page & kLeafMask].compare_exchange_strong(noted, nullptr,
                                                                            std::memory_order_relaxed);
  }
}

}  // namespace du::internal
