// The process-wide allocator of library objects, and its face for standard containers.
#ifndef LMKUTILS_MEMORY_COMMON_ALLOCATOR_H
#define LMKUTILS_MEMORY_COMMON_ALLOCATOR_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>

#include "lmkutils/export.h"

namespace du {

struct MemPoolBlockStatistics;

// The one allocator that most of the library takes its memory from. Any thread. Blocks lie on 8 bytes, those
// whose size is a multiple of 16 on 16.
class LMK_API CommonAllocatorImpl {
 public:
  // A block of `size` bytes, never null (also for size 0). Throws std::bad_alloc when memory is exhausted.
  // The hint names a block near which the new one would be welcome; it may be null.
  [[nodiscard]] static void* Allocate(unsigned size, void* hint = nullptr);

  // Returns a block; `size` is the one that was requested. Nothing for null.
  static void Deallocate(void* block, unsigned size) noexcept;

  // What a request of `size` bytes takes; above 16384 the size itself.
  [[nodiscard]] static unsigned GetRoundedSize(unsigned size) noexcept;

  // Gives memory in which nothing is in use back to the system. The calling thread's cache of free blocks is
  // emptied at once, those of other threads when they next allocate or free. Throws as Allocate does.
  static void PurgeEmptyBlocks();

  // As MemPool::GetBlockStatistics, for the common pool. Throws as Allocate does.
  static void GetBlockStatistics(MemPoolBlockStatistics& statistics, float sparseBelow,
                                 bool usedOnly = false);
};

// When the common allocator goes at process exit, see dp::ScheduleAtExitCall.
[[nodiscard]] LMK_API unsigned GetLongevity(CommonAllocatorImpl*) noexcept;

// An allocator for standard containers over Impl's static Allocate and Deallocate. Stateless: all compare
// equal. Types aligned to more than 16 bytes bypass Impl.
template <class T, class Impl>
class Allocator {
 public:
  using value_type = T;
  using is_always_equal = std::true_type;
  using propagate_on_container_move_assignment = std::true_type;

  constexpr Allocator() noexcept = default;
  template <class U>
  constexpr Allocator(const Allocator<U, Impl>&) noexcept {}

  // Throws std::bad_alloc when memory is exhausted or n objects take more than 4 GiB - 1.
  [[nodiscard]] T* allocate(std::size_t n) {
    if (n > std::numeric_limits<std::uint32_t>::max() / sizeof(T)) throw std::bad_alloc();
    if constexpr (alignof(T) > 16) {
      return static_cast<T*>(::operator new(n * sizeof(T), std::align_val_t(alignof(T))));
    } else {
      // A type that needs 16 has a size that is a multiple of 16, and so have n of them.
      return static_cast<T*>(Impl::Allocate(static_cast<unsigned>(n * sizeof(T)), nullptr));
    }
  }

  void deallocate(T* block, std::size_t n) noexcept {
    if constexpr (alignof(T) > 16) {
      ::operator delete(block, std::align_val_t(alignof(T)));
    } else {
      Impl::Deallocate(block, static_cast<unsigned>(n * sizeof(T)));
    }
  }
};

template <class T, class U, class Impl>
constexpr bool operator==(const Allocator<T, Impl>&, const Allocator<U, Impl>&) noexcept {
  return true;
}

template <class T>
using CommonAllocator = Allocator<T, CommonAllocatorImpl>;

}  // namespace du

#endif
