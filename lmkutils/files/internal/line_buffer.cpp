#include "lmkutils/files/internal/line_buffer.h"

#include <limits>
#include <new>

#include "lmkutils/os/memory.h"

namespace du::internal {

LineBuffer::LineBuffer() : data_(static_cast<char*>(os::HeapAllocate(kFirstCapacity))) {
  if (data_ == nullptr) throw std::bad_alloc();
}

LineBuffer::~LineBuffer() {
  os::HeapFree(data_);
}

void LineBuffer::Replace() noexcept {
  auto* const fresh = static_cast<char*>(os::HeapAllocate(kFirstCapacity));
  if (fresh == nullptr) return;
  os::HeapFree(data_);
  data_ = fresh;
  capacity_ = kFirstCapacity;
}

void LineBuffer::Grow(std::size_t size) {
  std::size_t capacity = capacity_;
  while (size > capacity - kTerminator - size_) {
    if (capacity > std::numeric_limits<std::size_t>::max() / 2) throw std::bad_alloc();
    capacity *= 2;
  }
  void* const data = os::HeapReallocate(data_, capacity);
  if (data == nullptr) throw std::bad_alloc();
  data_ = static_cast<char*>(data);
  capacity_ = capacity;
}

}  // namespace du::internal
