// The memory of one du::ElementAllocator.
#ifndef LMKUTILS_MEMORY_INTERNAL_ELEMENT_STORE_H
#define LMKUTILS_MEMORY_INTERNAL_ELEMENT_STORE_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "lmkutils/memory/internal/span_store.h"

namespace du::internal {

class CacheSet;

// What moves at once between a thread's cache and the class's allocator: at most so many bytes, but one
// element.
inline constexpr unsigned kBatchBytes = 8192;

// How many elements move at once: enough to make the lock cheap.
constexpr unsigned BatchSize(unsigned elementSize) noexcept {
  return std::clamp(kBatchBytes / elementSize, 1U, 32U);
}

// Spans, and in front of them a few chains of a whole batch each that one thread gave back and the next may
// take without anybody looking at their elements (the transfer cache of S. Ghemawat and P. Menage, TCMalloc).
// Large elements do not wait: other sizes may need their memory. Not thread-safe: the owner locks.
class ElementStore {
 public:
  ElementStore(ElementAllocator* owner, unsigned elementSize, unsigned blockSize,
               SystemMallocCtrl* supplier) noexcept
      : spans_(owner, elementSize, blockSize, supplier),
        supplier_(supplier),
        batch_(BatchSize(elementSize)),
        slots_(spans_.HasLargeElements() || batch_ == 1
                   ? 0
                   : std::min<std::size_t>(kTransferBytes / (std::size_t{batch_} * elementSize), kMaxSlots)) {
  }

  // Up to `count` elements; when that is a batch or more, perhaps a waiting chain.
  Chain Take(std::size_t count) noexcept {
    if (count >= batch_ && chains_ != 0) return transfer_[--chains_];
    Chain chain = spans_.Take(count);
    // The supplier has no more, but a waiting chain may.
    if (chain.count == 0 && chains_ != 0) {
      Drain();
      chain = spans_.Take(count);
    }
    return chain;
  }

  void Give(const Chain& chain) noexcept {
    if (chain.count == batch_ && chains_ < slots_) {
      transfer_[chains_++] = chain;
    } else {
      spans_.Give(chain);
    }
  }

  void Drain() noexcept {
    while (chains_ != 0) spans_.Give(transfer_[--chains_]);
  }

  std::size_t ElementsOut() const noexcept { return spans_.ElementsOut() - std::size_t{chains_} * batch_; }

  SpanStore& Spans() noexcept { return spans_; }
  SystemMallocCtrl* Supplier() const noexcept { return supplier_; }

  const CacheSet* caches = nullptr;  // the caches in front of this store
  unsigned sizeClass = 0;            // and what its elements are in them

 private:
  static constexpr std::size_t kTransferBytes = 32768;
  static constexpr std::size_t kMaxSlots = 16;

  SpanStore spans_;
  SystemMallocCtrl* const supplier_;
  const unsigned batch_;
  const std::size_t slots_;
  std::array<Chain, kMaxSlots> transfer_;
  unsigned chains_ = 0;
};

}  // namespace du::internal

#endif
