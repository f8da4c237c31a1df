// du::HandOffMallocCtrl: controls that hand requests on to others by their size.
#ifndef LMKUTILS_MEMORY_HAND_OFF_MALLOC_CTRL_H
#define LMKUTILS_MEMORY_HAND_OFF_MALLOC_CTRL_H

#include "lmkutils/memory/malloc_ctrl.h"

namespace du {

// An allocator that keeps no sizes: callers say, when they give a block back, how large they had asked it to
// be.
class LMK_API HandOffMallocCtrl : public MallocCtrl {
 public:
  explicit HandOffMallocCtrl(const char* name) : MallocCtrl(name) {}

  void Accept(MallocCtrlVisitor* visitor) override;

  // A block of at least `size` bytes, near `hint` where that is possible; null when memory is exhausted or
  // the fail flag is set.
  virtual void* Allocate(unsigned size, void* hint) = 0;

  // Gives back a block; `size` is the size that was asked for.
  virtual void Free(void* block, unsigned size) = 0;

 protected:
  HandOffMallocCtrl(const char* name, Deferred deferred) : MallocCtrl(name, deferred) {}
};

}  // namespace du

#endif
