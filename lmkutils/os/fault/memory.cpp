#include "lmkutils/os/memory.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

void* RealHeapAllocate(std::size_t size) noexcept;
void* RealHeapReallocate(void* block, std::size_t size) noexcept;

void* HeapAllocate(std::size_t size) noexcept {
  return fault::Consult(fault::Call::kHeapAllocate).fail ? nullptr : RealHeapAllocate(size);
}

void* HeapReallocate(void* block, std::size_t size) noexcept {
  return fault::Consult(fault::Call::kHeapReallocate).fail ? nullptr : RealHeapReallocate(block, size);
}

}  // namespace os
