#include "lmkutils/memory/internal/block_ledger.h"

#ifndef NDEBUG

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "lmkutils/memory/element_allocator.h"
#include "lmkutils/memory/internal/page_map.h"
#include "lmkutils/memory/internal/span_store.h"

namespace du::internal {
namespace {

struct Mark {
  std::atomic<std::uint32_t>& word;
  std::uint32_t bit;
};

Mark MarkOf(const Span& span, const void* block) noexcept {
  const auto index = static_cast<std::size_t>(static_cast<const char*>(block) - span.base) / span.elementSize;
  return {.word = span.marks[index / 32], .bit = std::uint32_t{1} << (index % 32)};
}

constexpr const char* kForeign = "is freed, but is not one of its blocks";
constexpr const char* kOtherSize = "is freed with another size than it was requested with";

[[noreturn]] void Report(const void* block, const char* what, const char* control) noexcept {
  std::fprintf(stderr, "lmkutils: block %p of \"%s\" %s\n", block, control, what);
  std::fflush(stderr);
  std::abort();
}

}  // namespace

void NoteHandedOut(void* block) noexcept {
  if (block == nullptr) return;
  const Mark mark = MarkOf(*pageMap.Find(block), block);
  mark.word.fetch_or(mark.bit, std::memory_order_relaxed);
}

void NoteReturned(void* block, const ElementAllocator* expected, const char* pool) noexcept {
  const Span* span = pageMap.Find(block);
  if (span == nullptr) Report(block, kForeign, pool);
  if (span->owner != expected) Report(block, kOtherSize, span->owner->GetName());
  const auto offset = static_cast<std::size_t>(static_cast<const char*>(block) - span->base);
  if (offset % span->elementSize != 0) Report(block, kForeign, span->owner->GetName());
  const Mark mark = MarkOf(*span, block);
  if ((mark.word.fetch_and(~mark.bit, std::memory_order_relaxed) & mark.bit) == 0) {
    Report(block, "is freed twice", span->owner->GetName());
  }
}

void CheckLargeReturned(const void* block, unsigned size, unsigned requested, const char* pool) noexcept {
  if (requested == size) return;
  if (requested != 0) Report(block, kOtherSize, pool);
  if (const Span* span = pageMap.Find(block)) Report(block, kOtherSize, span->owner->GetName());
  Report(block, "is freed twice, or is not one of its blocks", pool);
}

}  // namespace du::internal

#endif
