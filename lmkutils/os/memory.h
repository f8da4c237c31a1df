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

}  // namespace os

#endif
