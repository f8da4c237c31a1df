// The seam's pages: memory straight from the system.
#ifndef LMKUTILS_OS_VIRTUAL_MEMORY_H
#define LMKUTILS_OS_VIRTUAL_MEMORY_H

#include <cstddef>

namespace os {

// Readable, writable, zeroed memory of at least `size` bytes in whole pages, near `hint` if possible; null on
// failure and for size 0.
void* PagesMap(void* hint, std::size_t size) noexcept;
// Gives back a whole mapping made with the same size. Null is ignored.
void PagesUnmap(void* address, std::size_t size) noexcept;
// Asks for the pages to stay in physical memory.
void PagesLock(void* address, std::size_t size) noexcept;

}  // namespace os

#endif
