// du::GeneralMallocCtrl: controls that keep statistics for each block size.
#ifndef LMKUTILS_MEMORY_GENERAL_MALLOC_CTRL_H
#define LMKUTILS_MEMORY_GENERAL_MALLOC_CTRL_H

#include "lmkutils/memory/malloc_block_stat.h"
#include "lmkutils/memory/malloc_ctrl.h"

namespace du {

// An allocator of blocks of any size that knows the size of each block itself. The library has none of its
// own; the family exists for allocators that callers bring along.
class LMK_API GeneralMallocCtrl : public MallocCtrl {
 public:
  explicit GeneralMallocCtrl(const char* name) : MallocCtrl(name) {}

  void Accept(MallocCtrlVisitor* visitor) override;

  // Writes how many sizes have blocks in use and how many have free blocks, and points each out-parameter at
  // that many statistics, owned by the control and valid until its next operation. The base's body throws
  // std::logic_error.
  virtual void GetAllocationDetails(unsigned* usedSizes, MallocBlockStat** used, unsigned* freeSizes,
                                    MallocBlockStat** free) const = 0;

  // A block of `size` bytes, null when there is none.
  virtual void* Allocate(unsigned size) = 0;

  // Gives back a block that this control's Allocate returned.
  virtual void Free(void* block) = 0;

 protected:
  GeneralMallocCtrl(const char* name, Deferred deferred) : MallocCtrl(name, deferred) {}
};

}  // namespace du

#endif
