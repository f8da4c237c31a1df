#include "lmkutils/memory/internal/span_store.h"

#include <algorithm>
#include <bit>
#include <exception>
#include <limits>
#include <new>
#include <utility>

#include "lmkutils/memory/internal/page_map.h"
#include "lmkutils/memory/system_malloc_ctrl.h"
#include "lmkutils/os/memory.h"

namespace du::internal {
namespace {

constexpr std::uint32_t kLargestSpan = 131072;

// Few elements of a large size are out at a time. Those that are free in a span wait for each other until
// another size may have their memory.
bool IsLarge(unsigned elementSize, unsigned blockSize) noexcept {
  return elementSize > blockSize / 16;
}

// The smallest multiple of `blockSize`, for large elements of the page size, that wastes at most a sixteenth.
std::uint32_t SpanBytes(unsigned elementSize, unsigned blockSize) noexcept {
  const auto step = IsLarge(elementSize, blockSize) ? std::uint32_t{PageMap::kPageSize} : blockSize;
  std::uint32_t bytes = step;
  while (bytes < elementSize || (bytes < kLargestSpan && bytes % elementSize > bytes / 16)) bytes += step;
  return bytes;
}

std::pair<void*, unsigned> TryAllocate(SystemMallocCtrl* supplier, std::size_t bytes) noexcept {
  try {
    return supplier->Allocate(static_cast<unsigned>(bytes));
  } catch (const std::exception&) {  // suppliers tell exhaustion either way
    return {nullptr, 0};
  }
}

constexpr std::uint32_t kBits = std::numeric_limits<std::size_t>::digits;  // in a word of Span::free

constexpr std::uint32_t Words(std::uint32_t capacity) noexcept {
  return (capacity + kBits - 1) / kBits;
}

void FreeAll(Span& span) noexcept {
  const std::uint32_t whole = span.capacity / kBits;
  std::fill_n(span.free, whole, ~std::size_t{0});
  if (const std::uint32_t rest = span.capacity % kBits; rest != 0) {
    span.free[whole] = (std::size_t{1} << rest) - 1;
  }
}

// Room behind a Span and its bits for its marks.
constexpr std::size_t MarkBytes(std::uint32_t capacity) noexcept {
#ifdef NDEBUG
  static_cast<void>(capacity);
  return 0;
#else
  return (capacity + 31) / 32 * sizeof(std::atomic<std::uint32_t>);
#endif
}

char* AlignedUp(void* block) noexcept {
  const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(block);
  return static_cast<char*>(block) + ((0 - address) & (PageMap::kPageSize - 1));
}

}  // namespace

SpanStore::SpanStore(ElementAllocator* owner, unsigned elementSize, unsigned blockSize,
                     SystemMallocCtrl* supplier) noexcept
    : owner_(owner),
      supplier_(supplier),
      elementSize_(elementSize),
      isLarge_(IsLarge(elementSize, blockSize)),
      spanBytes_(SpanBytes(elementSize, blockSize)),
      spanCapacity_(spanBytes_ / elementSize) {}

void SpanStore::ReleaseAll(bool supplierAlive) noexcept {
  for (Span** list : {&partial_, &full_, &empty_}) {
    while (Span* span = *list) {
      Unlink(*list, span);
      Release(span, supplierAlive);
    }
  }
  out_ = 0;
}

Chain SpanStore::Take(std::size_t count) noexcept {
  Chain chain;
  FreeElement** end = &chain.head;
  while (chain.count < count) {
    Span* span = partial_;
    if (span == nullptr) {
      span = empty_ != nullptr ? std::exchange(empty_, nullptr) : NewSpan();
      if (span == nullptr) break;
      Link(partial_, span);
    }
    const std::size_t taken = std::min<std::size_t>(count - chain.count, span->capacity - span->used);
    end = TakeFrom(*span, taken, end);
    chain.count += taken;
    if (span->used == span->capacity) {
      Unlink(partial_, span);
      Link(full_, span);
    }
  }
  *end = nullptr;
  out_ += chain.count;
  return chain;
}

// Hangs the first `count` elements, not more than there are, on the link `end`; gives the last one's.
FreeElement** SpanStore::TakeFrom(Span& span, std::size_t count, FreeElement** end) const noexcept {
  span.used += static_cast<std::uint32_t>(count);
  std::uint32_t word = span.firstFree;
  for (; count != 0; --count) {
    while (span.free[word] == 0) ++word;
    const std::uint32_t index = word * kBits + static_cast<std::uint32_t>(std::countr_zero(span.free[word]));
    span.free[word] &= span.free[word] - 1;
    auto* const element = ::new (span.base + std::size_t{index} * elementSize_) FreeElement{nullptr};
    *end = element;
    end = &element->next;
  }
  span.firstFree = word;
  return end;
}

void SpanStore::Give(Chain chain) noexcept {
  out_ -= chain.count;
  while (chain.head != nullptr) {
    const FreeElement* const element = chain.head;
    chain.head = element->next;
    Span* span = pageMap.Find(element);
    const auto offset = static_cast<std::uint32_t>(reinterpret_cast<const char*>(element) - span->base);
    const std::uint32_t index = offset / elementSize_;
    span->free[index / kBits] |= std::size_t{1} << (index % kBits);
    span->firstFree = std::min(span->firstFree, index / kBits);
    if (span->used-- == span->capacity) {
      Unlink(full_, span);
      Link(partial_, span);
    }
    if (span->used != 0) continue;
    Unlink(partial_, span);
    if (!isLarge_ && empty_ == nullptr) {
      Link(empty_, span);
    } else {
      Release(span, true);
    }
  }
}

void SpanStore::PurgeEmpty() noexcept {
  if (Span* span = std::exchange(empty_, nullptr)) Release(span, true);
}

std::size_t SpanStore::BytesHeld() const noexcept {
  return spans_ * spanBytes_;
}

std::size_t SpanStore::SpansBelow(float fraction) const noexcept {
  std::size_t below = EmptySpans();
  for (const Span* list : {partial_, full_}) {
    for (const Span* span = list; span != nullptr; span = span->next) {
      if (static_cast<float>(span->used) < fraction * static_cast<float>(span->capacity)) ++below;
    }
  }
  return below;
}

void SpanStore::Link(Span*& list, Span* span) noexcept {
  span->previous = nullptr;
  span->next = list;
  if (list != nullptr) list->previous = span;
  list = span;
}

void SpanStore::Unlink(Span*& list, Span* span) noexcept {
  if (span->previous != nullptr) {
    span->previous->next = span->next;
  } else {
    list = span->next;
  }
  if (span->next != nullptr) span->next->previous = span->previous;
  span->previous = span->next = nullptr;
}

Span* SpanStore::NewSpan() noexcept {
  std::pair<void*, unsigned> block = TryAllocate(supplier_, spanBytes_);
  if (block.first == nullptr) return nullptr;
  char* base = AlignedUp(block.first);
  if (base != block.first) {  // a supplier that knows nothing of pages
    supplier_->Free(block.first);
    block = TryAllocate(supplier_, spanBytes_ + PageMap::kPageSize);
    if (block.first == nullptr) return nullptr;
    base = AlignedUp(block.first);
  }
  const std::size_t bitBytes = Words(spanCapacity_) * sizeof(std::size_t);
  auto* storage = static_cast<Span*>(os::HeapAllocate(sizeof(Span) + bitBytes + MarkBytes(spanCapacity_)));
  if (storage == nullptr || !pageMap.Set(base, spanBytes_, storage)) {
    os::HeapFree(storage);
    supplier_->Free(block.first);
    return nullptr;
  }
  auto* bits = ::new (storage + 1) std::size_t[Words(spanCapacity_)];
  auto* marks = ::new (bits + Words(spanCapacity_))
      std::atomic<std::uint32_t>[MarkBytes(spanCapacity_) / sizeof(std::uint32_t)]();
  held_ += spanCapacity_;
  ++spans_;
  auto* const span = ::new (storage) Span{.previous = nullptr,
                                          .next = nullptr,
                                          .owner = owner_,
                                          .base = base,
                                          .block = block.first,
                                          .free = bits,
                                          .used = 0,
                                          .firstFree = 0,
                                          .capacity = spanCapacity_,
                                          .elementSize = elementSize_,
                                          .marks = marks};
  FreeAll(*span);
  return span;
}

void SpanStore::Release(Span* span, bool supplierAlive) noexcept {
  // A dead supplier's memory may be another one's meanwhile.
  pageMap.Clear(span->base, spanBytes_, span);
  if (supplierAlive) supplier_->Free(span->block);
  os::HeapFree(span);
  held_ -= spanCapacity_;
  --spans_;
}

bool SpanStore::IsInSaneState() const noexcept {
  std::size_t out = 0;
  std::size_t spans = 0;
  for (const Span* list : {partial_, full_, empty_}) {
    for (const Span* span = list; span != nullptr; span = span->next) {
      ++spans;
      out += span->used;
      std::uint32_t freeElements = 0;
      for (std::uint32_t word = 0; word < Words(span->capacity); ++word) {
        if (span->free[word] != 0 && word < span->firstFree) return false;
        freeElements += static_cast<std::uint32_t>(std::popcount(span->free[word]));
      }
      if (span->used + freeElements != span->capacity) return false;
      if (pageMap.Find(span->base) != span || span->owner != owner_) return false;
      const bool inPlace = list == full_    ? span->used == span->capacity
                           : list == empty_ ? span->used == 0
                                            : span->used > 0 && span->used < span->capacity;
      if (!inPlace) return false;
    }
  }
  return out == out_ && spans == spans_ && held_ == spans * spanCapacity_;
}

}  // namespace du::internal
