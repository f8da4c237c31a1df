#include "lmkutils/memory/memory_map.h"

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/virtual_memory.h"

namespace du {

unsigned MemoryMap::GetPageSize() noexcept {
  return os::GetCapabilities().pageSize;
}

void* MemoryMap::MapNewMemory(void* hint, std::size_t size) noexcept {
  return os::PagesMap(hint, size);
}

void MemoryMap::ReleaseMappedMemory(void* address, std::size_t size) noexcept {
  os::PagesUnmap(address, size);
}

void MemoryMap::LockToRam(void* address, std::size_t size) noexcept {
  os::PagesLock(address, size);
}

}  // namespace du
