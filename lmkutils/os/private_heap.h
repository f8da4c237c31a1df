// The seam's private heaps: allocation areas that go as a whole. Not serialised; the caller locks.
#ifndef LMKUTILS_OS_PRIVATE_HEAP_H
#define LMKUTILS_OS_PRIVATE_HEAP_H

#include <cstddef>

namespace os {

struct PrivateHeap;

// A growable heap; null when there is no memory for it.
PrivateHeap* PrivateHeapCreate(std::size_t initialSize) noexcept;
// Releases the heap and every block that is still in it.
void PrivateHeapDestroy(PrivateHeap* heap) noexcept;
// A block aligned for any type of up to the heap's natural alignment (8 on 32-bit targets, else 16); null
// when exhausted.
void* PrivateHeapAllocate(PrivateHeap* heap, std::size_t size) noexcept;
void PrivateHeapFree(PrivateHeap* heap, void* block) noexcept;
// Bytes of a live block as the heap gave it: at least what was asked for.
std::size_t PrivateHeapSize(PrivateHeap* heap, const void* block) noexcept;

}  // namespace os

#endif
