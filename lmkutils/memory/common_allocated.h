// The base of objects that live in the common allocator.
#ifndef LMKUTILS_MEMORY_COMMON_ALLOCATED_H
#define LMKUTILS_MEMORY_COMMON_ALLOCATED_H

#include <cstddef>
#include <new>

#include "lmkutils/export.h"

namespace du {

class Symbol;

// Gives a class operators new and delete over du::CommonAllocatorImpl, and a name for diagnostics. Arrays of
// such objects and types aligned to more than 16 bytes use the global operators. Any thread.
class LMK_API CommonAllocated {
 public:
  CommonAllocated() noexcept = default;
  CommonAllocated(const CommonAllocated&) noexcept {}
  CommonAllocated& operator=(const CommonAllocated&) noexcept { return *this; }
  virtual ~CommonAllocated();

  // The class's own name; "UknownObject" where a class does not override it.
  virtual Symbol GetDebugClassName() const;

  // Throws std::bad_alloc when memory is exhausted or the size is beyond 32 bits.
  static void* operator new(std::size_t size);
  // Null instead. An object whose constructor throws here loses its block: giving it back needs the size,
  // which the language does not hand to the matching delete.
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t size, std::align_val_t alignment);
  static void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t, void* place) noexcept { return place; }

  // Nothing for null. What lies in the common allocator needs its size to find its way back.
  static void operator delete(void* block, std::size_t size) noexcept;
  static void operator delete(void* block, std::align_val_t alignment) noexcept;
  static void operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept;
  static void operator delete(void*, void*) noexcept {}
};

}  // namespace du

#endif
