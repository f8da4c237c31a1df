// The locks of the common pools across fork.
#ifndef LMKUTILS_MEMORY_INTERNAL_POOL_FORK_H
#define LMKUTILS_MEMORY_INTERNAL_POOL_FORK_H

#include <array>
#include <cstddef>

#include "lmkutils/memory/internal/size_classes.h"

namespace du {
class ElementAllocator;
}

namespace du::internal {

class MallocCtrlRegistryImpl;
struct CommonPools;

// A child process made while other threads allocate gets the registry's and the common pools' locks free, and
// what they guard whole. What the caches of those other threads hold is lost to it. Pools that callers made
// are theirs to guard.
class PoolFork {
 public:
  // From now on; once is enough.
  static void AddHooks() noexcept;

 private:
  static void Before() noexcept;
  static void InParent() noexcept;
  static void InChild() noexcept;
  static void Release() noexcept;

  // What the forking thread holds; the registry's lock guards it.
  static MallocCtrlRegistryImpl* registry_;
  static CommonPools* pools_;
  static std::array<ElementAllocator*, kMaxClasses> classes_;
  static std::size_t classCount_;
};

}  // namespace du::internal

#endif
