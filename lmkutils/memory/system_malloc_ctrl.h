// du::SystemMallocCtrl: controls that give memory in pieces of any size.
#ifndef LMKUTILS_MEMORY_SYSTEM_MALLOC_CTRL_H
#define LMKUTILS_MEMORY_SYSTEM_MALLOC_CTRL_H

#include <utility>

#include "lmkutils/memory/malloc_ctrl.h"

namespace du {

// A supplier at the bottom of the graph of controls: other controls take their blocks from it.
class LMK_API SystemMallocCtrl : public MallocCtrl {
 public:
  explicit SystemMallocCtrl(const char* name) : MallocCtrl(name) {}

  void Accept(MallocCtrlVisitor* visitor) override;

  // A block of at least `size` bytes, aligned to 16 (a heap of 32-bit Windows: to 8), and its real size;
  // {null, 0} while the fail flag is set. Whether exhaustion is answered by null or by std::bad_alloc is the
  // derived class's choice.
  virtual std::pair<void*, unsigned> Allocate(unsigned size) = 0;

  // Gives back a block that this control's Allocate returned.
  virtual void Free(void* block) = 0;

  // How many of `size` bytes a block of that size leaves to its user.
  virtual unsigned SpaceAvailableInBlockSize(unsigned size) const { return size; }

 protected:
  SystemMallocCtrl(const char* name, Deferred deferred) : MallocCtrl(name, deferred) {}
};

}  // namespace du

#endif
