// du::ElementAllocator: what the block allocators share.
#ifndef LMKUTILS_MEMORY_ELEMENT_ALLOCATOR_H
#define LMKUTILS_MEMORY_ELEMENT_ALLOCATOR_H

#include <cstddef>

#include "lmkutils/export.h"
#include "lmkutils/memory/fixed_size_malloc_ctrl.h"

namespace du {

class SystemMallocCtrl;
struct MemPoolClassStatistics;

namespace internal {
class CacheSet;
class ElementStore;
class PoolFork;
struct Chain;
}  // namespace internal

// Elements of one size out of blocks of a supplier. A derived class adds a lock by Enter and Leave; the
// allocator is as thread-safe as that makes it.
class LMK_API ElementAllocator : public FixedSizeMallocCtrl {
 public:
  ElementAllocator(const ElementAllocator&) = delete;
  ElementAllocator& operator=(const ElementAllocator&) = delete;
  // Gives all blocks back to the supplier, if that is still registered.
  ~ElementAllocator() override;

  // Null while the fail flag is set and when the supplier is exhausted. The hint is not used.
  void* Allocate(void* hint) override;
  // Null is ignored.
  void Free(void* element) override;

  // Bytes of the elements in use and of the blocks held. What the threads' caches keep counts as held, not as
  // in use.
  void GetAllocationStats(unsigned* allocated, unsigned* held) const override;
  void GetAllocationDetails(unsigned* elementSize, unsigned* elementsInUse,
                            unsigned* elementsHeld) const override;
  // The same and more, for reports: blocks with less than `sparseBelow` of their elements in use count as
  // sparse.
  void GetBlockStatistics(MemPoolClassStatistics& statistics, float sparseBelow) const;

  // Gives the blocks from which nothing is in use back to the supplier.
  void PurgeEmptyBlocks();
  // Whether the allocator's books agree with each other.
  bool IsInSaneState() const;

  // For the pool: up to `count` elements at once, and the way back.
  internal::Chain TakeMany(std::size_t count);
  void GiveMany(internal::Chain chain);
  // For the pool: which caches hold elements of this allocator, as elements of which size class.
  void SetCaches(const internal::CacheSet* caches, unsigned sizeClass) noexcept;

 protected:
  // `elementSize` is rounded up to a multiple of 8, `blockSize` to one of 8 KiB. Throws std::bad_alloc,
  // also when either is beyond 1 GiB, and what MallocCtrl throws.
  ElementAllocator(const char* name, unsigned elementSize, unsigned blockSize, SystemMallocCtrl* supplier);

 private:
  friend class internal::PoolFork;
  class Section;

  virtual void Enter() const noexcept = 0;
  virtual void Leave() const noexcept = 0;

  internal::ElementStore* store_;
};

}  // namespace du

#endif
