// du::MemoryMap: pages straight from the virtual-memory manager.
#ifndef LMKUTILS_MEMORY_MEMORY_MAP_H
#define LMKUTILS_MEMORY_MEMORY_MAP_H

#include <cstddef>

#include "lmkutils/export.h"

namespace du {

// Static operations over the system's pages; thread-safe. Nothing here is counted or named: that is done by
// the controls built on it.
class LMK_API MemoryMap {
 public:
  // Bytes of a page.
  static unsigned GetPageSize() noexcept;

  // Readable and writable zeroed memory of at least `size` bytes, whole pages, near `hint` if the system
  // likes the idea; null on failure and for size 0.
  static void* MapNewMemory(void* hint, std::size_t size) noexcept;

  // Gives back a whole mapping: the address that MapNewMemory returned and the size that it was asked for.
  // Null is ignored.
  static void ReleaseMappedMemory(void* address, std::size_t size) noexcept;

  // Asks the system to keep these pages in physical memory; it may not.
  static void LockToRam(void* address, std::size_t size) noexcept;
};

}  // namespace du

#endif
