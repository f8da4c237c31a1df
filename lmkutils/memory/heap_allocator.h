// du::HeapAllocator: a control over a private heap of the system.
#ifndef LMKUTILS_MEMORY_HEAP_ALLOCATOR_H
#define LMKUTILS_MEMORY_HEAP_ALLOCATOR_H

#include "lmkutils/export.h"
#include "lmkutils/memory/system_malloc_ctrl.h"
#include "lmkutils/platform/object_level_lockable.h"

namespace os {
struct PrivateHeap;
}

namespace du {

// A growable heap of its own; whatever is still allocated is released with it. Owned by its maker; requests
// may come from any thread, one after another under the object's lock.
class LMK_API HeapAllocator : public SystemMallocCtrl, public dp::ObjectLevelLockable<HeapAllocator*> {
 public:
  // Starts with `initialSize` bytes (0: the system's smallest heap). Throws std::bad_alloc when there is no
  // memory for it, and what MallocCtrl throws.
  HeapAllocator(const char* name, unsigned initialSize);
  HeapAllocator(const HeapAllocator&) = delete;
  HeapAllocator& operator=(const HeapAllocator&) = delete;
  ~HeapAllocator() override;

  // The block and its size as the heap knows it; {null, 0} while the fail flag is set. Throws std::bad_alloc.
  std::pair<void*, unsigned> Allocate(unsigned size) override;
  // Null is ignored.
  void Free(void* block) override;
  // Both receive the sum of the sizes of all live blocks.
  void GetAllocationStats(unsigned* allocated, unsigned* held) const override;

 private:
  os::PrivateHeap* heap_;
  std::size_t bytesInUse_ = 0;
};

}  // namespace du

#endif
