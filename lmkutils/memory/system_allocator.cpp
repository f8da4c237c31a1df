#include "lmkutils/memory/system_allocator.h"

#include <new>

#include "lmkutils/memory/internal/clamped.h"
#include "lmkutils/memory/internal/page_arena.h"

namespace du {

SystemAllocatorBase::SystemAllocatorBase(const char* name, std::size_t smallestRequest,
                                         std::size_t largestRequest, std::size_t growthDivisor,
                                         std::size_t unit, MapFunction map, UnmapFunction unmap)
    : SystemMallocCtrl(name, Deferred{}) {
  void* storage = os::HeapAllocate(sizeof(internal::PageArena));
  if (storage == nullptr) throw std::bad_alloc();
  arena_ = ::new (storage) internal::PageArena({.smallest = smallestRequest,
                                                .largest = largestRequest,
                                                .growthDivisor = growthDivisor,
                                                .unit = unit,
                                                .map = map,
                                                .unmap = unmap});
}

SystemAllocatorBase::~SystemAllocatorBase() {
  arena_->~PageArena();
  os::HeapFree(arena_);
}

std::pair<void*, unsigned> SystemAllocatorBase::AllocateUnlocked(unsigned size) noexcept {
  const internal::PageArena::Block block = arena_->Allocate(size);
  return {block.address, internal::Clamped(block.size)};
}

void SystemAllocatorBase::FreeUnlocked(void* block) noexcept {
  arena_->Free(block);
}

void SystemAllocatorBase::StatsUnlocked(unsigned* allocated, unsigned* held) const noexcept {
  if (allocated != nullptr) *allocated = internal::Clamped(arena_->BytesAllocated());
  if (held != nullptr) *held = internal::Clamped(arena_->BytesHeld());
}

void SystemAllocatorBase::PurgeUnlocked() noexcept {
  arena_->Purge();
}

bool SystemAllocatorBase::SaneUnlocked() const noexcept {
  return arena_->IsInSaneState();
}

}  // namespace du
