// The heap of the run-time library, and the pools of the standard library over it.
#include <cstdlib>
#include <memory_resource>

#include "bench/memory/rows.h"
#include <malloc.h>

namespace bench {
namespace {

class RunTimeHeap {
 public:
  void* Allocate(std::size_t size) { return malloc_(size); }
  void Free(void* block, std::size_t) { free_(block); }
  static void Purge() { malloc_trim(0); }
  template <class T>
  auto ForContainer() const {
    return ContainerAllocator<T, RunTimeHeap>(*this);
  }

 private:
  void* (*malloc_)(std::size_t) = Opaque(&std::malloc);
  void (*free_)(void*) = Opaque(&std::free);
};

class PoolResource {
 public:
  void* Allocate(std::size_t size) { return resource_->allocate(size, kAlignment); }
  void Free(void* block, std::size_t size) { resource_->deallocate(block, size, kAlignment); }
  void Purge() {
    resource_->release();
    malloc_trim(0);
  }
  template <class T>
  auto ForContainer() const {
    return std::pmr::polymorphic_allocator<T>(resource_);
  }

 private:
  static constexpr std::size_t kAlignment = 8;  // what the library's pools promise
  std::pmr::synchronized_pool_resource* resource_ = Opaque(new std::pmr::synchronized_pool_resource);
};

bool Register() {
  AddMemoryRows("malloc", RunTimeHeap());
  AddMemoryRows("std::pmr::synchronized_pool_resource", PoolResource());
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
