#include "lmkutils/os/virtual_memory.h"

#include <cerrno>

#include <sys/mman.h>

// Present in builds with the leak checker, which looks for pointers to run-time heap blocks only where it is
// told.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void __lsan_register_root_region(const void* address, std::size_t size) __attribute__((weak));
void __lsan_unregister_root_region(const void* address, std::size_t size) __attribute__((weak));
}
// NOLINTEND(bugprone-reserved-identifier)

namespace os {

void* PagesMap(void* hint, std::size_t size) noexcept {
  if (size == 0) return nullptr;
  const int saved = errno;
  void* address = mmap(hint, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (address != MAP_FAILED) {
    if (__lsan_register_root_region != nullptr) __lsan_register_root_region(address, size);
    return address;
  }
  errno = saved;
  return nullptr;
}

void PagesUnmap(void* address, std::size_t size) noexcept {
  if (address == nullptr) return;  // the system would unmap what lies at the bottom of the address space
  const int saved = errno;
  if (__lsan_unregister_root_region != nullptr) __lsan_unregister_root_region(address, size);
  munmap(address, size);
  errno = saved;
}

void PagesLock(void* address, std::size_t size) noexcept {
  const int saved = errno;
  static_cast<void>(mlock(address, size));
  errno = saved;
}

}  // namespace os
