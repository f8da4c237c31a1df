#include "lmkutils/memory/heap_allocator.h"

#include <new>

#include "lmkutils/memory/internal/clamped.h"
#include "lmkutils/os/private_heap.h"

namespace du {

using internal::Clamped;

HeapAllocator::HeapAllocator(const char* name, unsigned initialSize)
    : SystemMallocCtrl(name, Deferred{}), heap_(os::PrivateHeapCreate(initialSize)) {
  if (heap_ == nullptr) throw std::bad_alloc();
  Publish();
}

HeapAllocator::~HeapAllocator() {
  Retire();
  os::PrivateHeapDestroy(heap_);
}

std::pair<void*, unsigned> HeapAllocator::Allocate(unsigned size) {
  if (ShouldFailOnNextRequest()) return {nullptr, 0};
  const Guard guard(*this);
  void* block = os::PrivateHeapAllocate(heap_, size);
  if (block == nullptr) throw std::bad_alloc();
  const std::size_t actual = os::PrivateHeapSize(heap_, block);
  bytesInUse_ += actual;
  return {block, Clamped(actual)};
}

void HeapAllocator::Free(void* block) {
  if (block == nullptr) return;
  const Guard guard(*this);
  bytesInUse_ -= os::PrivateHeapSize(heap_, block);
  os::PrivateHeapFree(heap_, block);
}

void HeapAllocator::GetAllocationStats(unsigned* allocated, unsigned* held) const {
  const Guard guard(*this);
  const unsigned bytes = Clamped(bytesInUse_);
  if (allocated != nullptr) *allocated = bytes;
  if (held != nullptr) *held = bytes;
}

}  // namespace du
