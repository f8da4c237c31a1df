// Elements of one size, cut from spans that a supplier gives.
#ifndef LMKUTILS_MEMORY_INTERNAL_SPAN_STORE_H
#define LMKUTILS_MEMORY_INTERNAL_SPAN_STORE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

namespace du {
class ElementAllocator;
class SystemMallocCtrl;
}  // namespace du

namespace du::internal {

// A free element holds the link to the next one in its first bytes.
struct FreeElement {
  FreeElement* next;
};

// A chain of free elements, ended by null.
struct Chain {
  FreeElement* head = nullptr;
  std::size_t count = 0;

  void Push(void* element) noexcept;
  void* Pop() noexcept;
};

// A piece of memory cut into elements. Stands beside the memory, so that elements of a power of two fill it
// wholly.
struct Span {
  Span* previous;
  Span* next;
  ElementAllocator* owner;
  char* base;
  void* block;              // what the supplier gave; `base` is its first page boundary
  std::size_t* free;        // a bit an element, set while the span has it
  std::uint32_t used;       // elements that are out
  std::uint32_t firstFree;  // no word of `free` before this one has a bit set
  std::uint32_t capacity;
  std::uint32_t elementSize;
  std::atomic<std::uint32_t>* marks;  // debug builds: a bit an element, set while the pool's caller has it
};

// Spans are whole pages of the page map: blocks of the size asked for, or smaller ones for large elements, as
// many as leave at most a sixteenth of them unused. A span of small elements from which nothing is out is
// kept in reserve once, others go back to the supplier at once. Elements are given in the order of their
// addresses, so that what one thread takes at once lies together, apart from what others take, and their
// memory is touched only then: bits beside it tell which are free. Not thread-safe: the owner locks.
class SpanStore {
 public:
  // `elementSize` is at least 8, a multiple of 8; `blockSize` a multiple of PageMap::kPageSize.
  SpanStore(ElementAllocator* owner, unsigned elementSize, unsigned blockSize,
            SystemMallocCtrl* supplier) noexcept;
  SpanStore(const SpanStore&) = delete;
  SpanStore& operator=(const SpanStore&) = delete;
  // Gives all spans back, elements that are still out with them. `suppliersAlive` tells whether there is
  // anybody to give them to.
  void ReleaseAll(bool supplierAlive) noexcept;

  // Up to `count` elements; fewer, or none, when the supplier is exhausted.
  Chain Take(std::size_t count) noexcept;
  // Elements that Take of this store gave.
  void Give(Chain chain) noexcept;
  void PurgeEmpty() noexcept;

  unsigned ElementSize() const noexcept { return elementSize_; }
  // Whether few fit a block.
  bool HasLargeElements() const noexcept { return isLarge_; }
  std::size_t ElementsOut() const noexcept { return out_; }
  std::size_t ElementsHeld() const noexcept { return held_; }
  std::size_t BytesHeld() const noexcept;
  std::size_t Spans() const noexcept { return spans_; }
  std::size_t EmptySpans() const noexcept { return empty_ != nullptr ? 1 : 0; }
  // How many spans have less than the given fraction of their elements out.
  std::size_t SpansBelow(float fraction) const noexcept;
  bool IsInSaneState() const noexcept;

 private:
  static void Link(Span*& list, Span* span) noexcept;
  static void Unlink(Span*& list, Span* span) noexcept;
  Span* NewSpan() noexcept;
  void Release(Span* span, bool supplierAlive) noexcept;
  FreeElement** TakeFrom(Span& span, std::size_t count, FreeElement** end) const noexcept;

  ElementAllocator* const owner_;
  SystemMallocCtrl* const supplier_;
  const unsigned elementSize_;
  const bool isLarge_;
  const std::uint32_t spanBytes_;
  const std::uint32_t spanCapacity_;
  Span* partial_ = nullptr;  // something out, something left
  Span* full_ = nullptr;     // everything out
  Span* empty_ = nullptr;    // the one in reserve
  std::size_t out_ = 0;
  std::size_t held_ = 0;
  std::size_t spans_ = 0;
};

inline void Chain::Push(void* element) noexcept {
  head = ::new (element) FreeElement{head};
  ++count;
}

inline void* Chain::Pop() noexcept {
  FreeElement* first = head;
  head = first->next;
  --count;
  return first;
}

}  // namespace du::internal

#endif
