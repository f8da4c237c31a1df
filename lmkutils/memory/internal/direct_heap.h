// The run-time heap as pools without pooling use it.
#ifndef LMKUTILS_MEMORY_INTERNAL_DIRECT_HEAP_H
#define LMKUTILS_MEMORY_INTERNAL_DIRECT_HEAP_H

namespace du::internal {

// A block aligned as the pools align theirs: to 16 bytes when the size is a multiple of 16, else to 8. Null
// when memory is exhausted.
void* DirectAllocate(unsigned size) noexcept;
// `size` is what was asked for. Null is ignored.
void DirectFree(void* block, unsigned size) noexcept;

}  // namespace du::internal

#endif
