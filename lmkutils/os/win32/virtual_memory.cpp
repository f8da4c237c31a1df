#include "lmkutils/os/virtual_memory.h"

#include <windows.h>

namespace os {

void* PagesMap(void* hint, std::size_t size) noexcept {
  return VirtualAlloc(hint, size, MEM_COMMIT, PAGE_READWRITE);
}

void PagesUnmap(void* address, std::size_t) noexcept {
  VirtualFree(address, 0, MEM_RELEASE);
}

void PagesLock(void* address, std::size_t size) noexcept {
  VirtualLock(address, size);
}

}  // namespace os
