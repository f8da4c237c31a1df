#include "lmkutils/os/memory.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>

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

void PreferLargePages(void* block, std::size_t size) noexcept {
#ifdef MADV_HUGEPAGE
  constexpr std::uintptr_t kLargePage = 2u << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (begin + kLargePage - 1) / kLargePage * kLargePage;
  const std::uintptr_t last = (begin + size) / kLargePage * kLargePage;
  if (first >= last) return;
  const int saved = errno;
  madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
  errno = saved;
#else
  static_cast<void>(block);
  static_cast<void>(size);
#endif
}

}  // namespace os
