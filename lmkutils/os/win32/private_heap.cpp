#include "lmkutils/os/private_heap.h"

#include <windows.h>

namespace os {

PrivateHeap* PrivateHeapCreate(std::size_t initialSize) noexcept {
  return static_cast<PrivateHeap*>(HeapCreate(HEAP_NO_SERIALIZE, initialSize, 0));
}

void PrivateHeapDestroy(PrivateHeap* heap) noexcept {
  HeapDestroy(heap);
}

void* PrivateHeapAllocate(PrivateHeap* heap, std::size_t size) noexcept {
  return HeapAlloc(heap, 0, size);
}

void PrivateHeapFree(PrivateHeap* heap, void* block) noexcept {
  HeapFree(heap, 0, block);
}

std::size_t PrivateHeapSize(PrivateHeap* heap, const void* block) noexcept {
  return HeapSize(heap, 0, block);
}

}  // namespace os
