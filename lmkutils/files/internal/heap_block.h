// Storage for buffers of bytes.
#ifndef LMKUTILS_FILES_INTERNAL_HEAP_BLOCK_H
#define LMKUTILS_FILES_INTERNAL_HEAP_BLOCK_H

#include <cstddef>

namespace du::internal {

// A block of the run-time's heap; a shortage of memory is reported, not thrown.
class HeapBlock {
 public:
  HeapBlock() noexcept = default;
  HeapBlock(const HeapBlock&) = delete;
  HeapBlock& operator=(const HeapBlock&) = delete;
  ~HeapBlock() { Free(); }

  // True when there is a block of this size; an older one of the same size stays as it is.
  bool Allocate(std::size_t size) noexcept;
  void Free() noexcept;

  unsigned char* Get() const noexcept { return bytes_; }  // null when there is none
  std::size_t Size() const noexcept { return size_; }

 private:
  unsigned char* bytes_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace du::internal

#endif
