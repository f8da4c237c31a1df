// du::BlockAlloc: elements of one size from blocks of a supplier.
#ifndef LMKUTILS_MEMORY_BLOCK_ALLOC_H
#define LMKUTILS_MEMORY_BLOCK_ALLOC_H

#include "lmkutils/memory/element_allocator.h"
#include "lmkutils/platform/object_level_lockable.h"

namespace du {

class LMK_API BlockAllocBase : public ElementAllocator {
 protected:
  using ElementAllocator::ElementAllocator;
};

// A lock policy: one spin lock an allocator.
class LMK_API LockedBlockAllocPolicy : public dp::ObjectLevelLockable<LockedBlockAllocPolicy*> {
 public:
  void Lock() const noexcept { ObjectLock().Lock(); }
  void Unlock() const noexcept { ObjectLock().Unlock(); }
};

// An allocator for one thread at a time.
class LMK_API UnlockedBlockAllocPolicy {
 public:
  void Lock() const noexcept {}
  void Unlock() const noexcept {}
};

// Elements of medium size. LockPolicy is a base class with Lock and Unlock, such as the two above.
template <class LockPolicy>
class BlockAlloc final : public BlockAllocBase, public LockPolicy {
 public:
  // Elements of `elementSize` bytes from blocks of `blockSize` bytes; those of more than a sixteenth of it
  // from blocks of as few bytes as waste little. Throws std::bad_alloc and what MallocCtrl throws; takes
  // nothing from the supplier yet.
  BlockAlloc(const char* name, unsigned elementSize, unsigned blockSize, SystemMallocCtrl* supplier)
      : BlockAllocBase(name, elementSize, blockSize, supplier) {
    this->Publish();
  }
  ~BlockAlloc() override { this->Retire(); }

 private:
  void Enter() const noexcept override { LockPolicy::Lock(); }
  void Leave() const noexcept override { LockPolicy::Unlock(); }
};

}  // namespace du

#endif
