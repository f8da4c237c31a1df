#include "lmkutils/memory/common_allocated.h"

#include <limits>

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/text/internal/lasting_symbol.h"

namespace du {

CommonAllocated::~CommonAllocated() = default;

Symbol CommonAllocated::GetDebugClassName() const {
  static const internal::LastingSymbol name("UknownObject");
  return name.Get();
}

void* CommonAllocated::operator new(std::size_t size) {
  if (size > std::numeric_limits<unsigned>::max()) throw std::bad_alloc();
  return CommonAllocatorImpl::Allocate(static_cast<unsigned>(size), nullptr);
}

void* CommonAllocated::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return operator new(size);
  } catch (...) {
    return nullptr;
  }
}

void* CommonAllocated::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void* CommonAllocated::operator new(std::size_t size, std::align_val_t alignment,
                                    const std::nothrow_t& nothrow) noexcept {
  return ::operator new(size, alignment, nothrow);
}

void CommonAllocated::operator delete(void* block, std::size_t size) noexcept {
  if (block != nullptr) CommonAllocatorImpl::Deallocate(block, static_cast<unsigned>(size));
}

void CommonAllocated::operator delete(void* block, std::align_val_t alignment) noexcept {
  ::operator delete(block, alignment);
}

void CommonAllocated::operator delete(void* block, std::align_val_t alignment,
                                      const std::nothrow_t&) noexcept {
  ::operator delete(block, alignment);
}

}  // namespace du
