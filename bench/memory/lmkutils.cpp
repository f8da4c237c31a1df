#include "bench/memory/rows.h"

#include "lmkutils/memory/common_allocator.h"

namespace bench {
namespace {

class CommonPool {
 public:
  void* Allocate(std::size_t size) { return allocate_(static_cast<unsigned>(size), nullptr); }
  void Free(void* block, std::size_t size) { deallocate_(block, static_cast<unsigned>(size)); }
  static void Purge() { du::CommonAllocatorImpl::PurgeEmptyBlocks(); }
  template <class T>
  auto ForContainer() const {
    return du::CommonAllocator<T>();
  }

 private:
  void* (*allocate_)(unsigned, void*) = Opaque(&du::CommonAllocatorImpl::Allocate);
  void (*deallocate_)(void*, unsigned) noexcept = Opaque(&du::CommonAllocatorImpl::Deallocate);
};

const bool registered = (AddMemoryRows(kOurs, CommonPool()), true);

}  // namespace
}  // namespace bench
