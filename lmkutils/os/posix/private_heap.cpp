#include "lmkutils/os/private_heap.h"

#include <cstddef>
#include <cstdlib>
#include <limits>

#include <malloc.h>

namespace os {
namespace {

// Stands before each block. All blocks of a heap are linked in a ring, so that the heap can release what is
// left.
struct alignas(std::max_align_t) Header {
  Header* previous;
  Header* next;
};

Header* HeaderOf(void* block) noexcept {
  return static_cast<Header*>(block) - 1;
}

}  // namespace

struct PrivateHeap {
  Header ring;
};

PrivateHeap* PrivateHeapCreate(std::size_t) noexcept {
  auto* heap = static_cast<PrivateHeap*>(std::malloc(sizeof(PrivateHeap)));
  if (heap != nullptr) heap->ring.previous = heap->ring.next = &heap->ring;
  return heap;
}

void PrivateHeapDestroy(PrivateHeap* heap) noexcept {
  for (Header* header = heap->ring.next; header != &heap->ring;) {
    Header* next = header->next;
    std::free(header);
    header = next;
  }
  std::free(heap);
}

void* PrivateHeapAllocate(PrivateHeap* heap, std::size_t size) noexcept {
  if (size > std::numeric_limits<std::size_t>::max() - sizeof(Header)) return nullptr;
  auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
  if (header == nullptr) return nullptr;
  header->previous = &heap->ring;
  header->next = heap->ring.next;
  header->next->previous = header;
  heap->ring.next = header;
  return header + 1;
}

void PrivateHeapFree(PrivateHeap*, void* block) noexcept {
  Header* header = HeaderOf(block);
  header->previous->next = header->next;
  header->next->previous = header->previous;
  std::free(header);
}

std::size_t PrivateHeapSize(PrivateHeap*, const void* block) noexcept {
  const Header* header = static_cast<const Header*>(block) - 1;
  return malloc_usable_size(const_cast<Header*>(header)) - sizeof(Header);
}

}  // namespace os
