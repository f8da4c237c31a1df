// du::FixedSizeMallocCtrl: controls that give elements of one size.
#ifndef LMKUTILS_MEMORY_FIXED_SIZE_MALLOC_CTRL_H
#define LMKUTILS_MEMORY_FIXED_SIZE_MALLOC_CTRL_H

#include "lmkutils/memory/malloc_ctrl.h"

namespace du {

// An allocator of elements that all have the size given at its construction.
class LMK_API FixedSizeMallocCtrl : public MallocCtrl {
 public:
  explicit FixedSizeMallocCtrl(const char* name) : MallocCtrl(name) {}

  void Accept(MallocCtrlVisitor* visitor) override;

  // Writes the element size in bytes, the elements in use and the elements held; null pointers are passed
  // over. The base's body throws std::logic_error.
  virtual void GetAllocationDetails(unsigned* elementSize, unsigned* elementsInUse,
                                    unsigned* elementsHeld) const = 0;

  // One element, near `hint` where that is possible; null when the supplier is exhausted or the fail flag is
  // set.
  virtual void* Allocate(void* hint) = 0;

  // Gives back an element that this control's Allocate returned.
  virtual void Free(void* element) = 0;

 protected:
  FixedSizeMallocCtrl(const char* name, Deferred deferred) : MallocCtrl(name, deferred) {}
};

}  // namespace du

#endif
