// A standard-container allocator straight over the run-time heap, for the bookkeeping of the allocators
// themselves: what they kept in the common pool would call them again.
#ifndef LMKUTILS_MEMORY_INTERNAL_MALLOC_BACKED_H
#define LMKUTILS_MEMORY_INTERNAL_MALLOC_BACKED_H

#include <cstddef>
#include <limits>
#include <new>
#include <vector>

#include "lmkutils/os/memory.h"

namespace du::internal {

template <class T>
struct MallocBacked {
  using value_type = T;

  MallocBacked() noexcept = default;
  template <class U>
  MallocBacked(const MallocBacked<U>&) noexcept {
  }  // NOLINT(google-explicit-constructor): as containers need it

  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
    void* block = os::HeapAllocate(count * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t) noexcept { os::HeapFree(block); }

  template <class U>
  bool operator==(const MallocBacked<U>&) const noexcept {
    return true;
  }
};

template <class T>
using MallocVector = std::vector<T, MallocBacked<T>>;

}  // namespace du::internal

#endif
