#include "lmkutils/files/internal/heap_block.h"

#include "lmkutils/os/memory.h"

namespace du::internal {

bool HeapBlock::Allocate(std::size_t size) noexcept {
  if (bytes_ != nullptr && size_ == size) return true;
  Free();
  bytes_ = static_cast<unsigned char*>(os::HeapAllocate(size));
  size_ = bytes_ != nullptr ? size : 0;
  return bytes_ != nullptr;
}

void HeapBlock::Free() noexcept {
  os::HeapFree(bytes_);
  bytes_ = nullptr;
  size_ = 0;
}

}  // namespace du::internal
