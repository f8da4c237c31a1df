// du::SmallBlockAlloc: small elements of one size from large spans of a supplier.
#ifndef LMKUTILS_MEMORY_SMALL_BLOCK_ALLOC_H
#define LMKUTILS_MEMORY_SMALL_BLOCK_ALLOC_H

#include "lmkutils/memory/element_allocator.h"
#include "lmkutils/platform/object_level_lockable.h"

namespace du {

class LMK_API SmallBlockAllocBase : public ElementAllocator {
 protected:
  using ElementAllocator::ElementAllocator;
};

// A lock policy: one spin lock an allocator.
class LMK_API LockedSmallBlockAllocPolicy : public dp::ObjectLevelLockable<LockedSmallBlockAllocPolicy*> {
 public:
  void Lock() const noexcept { ObjectLock().Lock(); }
  void Unlock() const noexcept { ObjectLock().Unlock(); }
};

// Elements of a few words. LockPolicy as for du::BlockAlloc.
template <class LockPolicy>
class SmallBlockAlloc final : public SmallBlockAllocBase, public LockPolicy {
 public:
  // Elements of `elementSize` bytes from spans of `spanSize` bytes; those of more than a sixteenth of it from
  // spans of as few bytes as waste little. Throws std::bad_alloc and what MallocCtrl throws; takes nothing
  // from the supplier yet.
  SmallBlockAlloc(const char* name, unsigned elementSize, unsigned spanSize, SystemMallocCtrl* supplier)
      : SmallBlockAllocBase(name, elementSize, spanSize, supplier) {
    this->Publish();
  }
  ~SmallBlockAlloc() override { this->Retire(); }

 private:
  void Enter() const noexcept override { LockPolicy::Lock(); }
  void Leave() const noexcept override { LockPolicy::Unlock(); }
};

}  // namespace du

#endif
