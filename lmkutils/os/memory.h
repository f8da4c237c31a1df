// The run-time library's heap. All storage that locks, the at-exit tracker and the allocators' own
// bookkeeping need comes from here, which makes it the place where tests let memory run out.
#ifndef LMKUTILS_OS_MEMORY_H
#define LMKUTILS_OS_MEMORY_H

#include <cstddef>

namespace os {

// Storage for any type without extended alignment; null when there is none. `size` may be 0.
void* HeapAllocate(std::size_t size) noexcept;

// As realloc: null, and the old block as it was, when there is no memory. `size` must not be 0.
void* HeapReallocate(void* block, std::size_t size) noexcept;

void HeapFree(void* block) noexcept;  // null does nothing

// Asks for large pages where a fresh block spans some, before its first use: for tables that are read all
// over, which otherwise miss the processor's cache of addresses at each reading. Without effect where the
// system gives none on such a wish.
void PreferLargePages(void* block, std::size_t size) noexcept;

}  // namespace os

#endif
