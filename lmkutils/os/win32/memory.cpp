#include "lmkutils/os/memory.h"

#include <cstdlib>

namespace os {

void* HeapAllocate(std::size_t size) noexcept {
  return std::malloc(size);
}

void* HeapReallocate(void* block, std::size_t size) noexcept {
  return std::realloc(block, size);
}

void HeapFree(void* block) noexcept {
  std::free(block);
}

void PreferLargePages(void*, std::size_t) noexcept {}

}  // namespace os
