// du::MallocCtrlVisitor: what a walk over all allocation controls calls.
#ifndef LMKUTILS_MEMORY_MALLOC_CTRL_VISITOR_H
#define LMKUTILS_MEMORY_MALLOC_CTRL_VISITOR_H

#include "lmkutils/export.h"

namespace du {

class FixedSizeMallocCtrl;
class GeneralMallocCtrl;
class HandOffMallocCtrl;
class MallocCtrl;
class SystemMallocCtrl;

// Receives each control by its family; MallocCtrlRegistry::VisitAll makes the walk. Each body here throws
// std::logic_error: a visitor overrides the families that it can meet. It runs under the registry's read lock
// and must not destroy controls; it may allocate, intern and trace.
class LMK_API MallocCtrlVisitor {
 public:
  virtual ~MallocCtrlVisitor();
  virtual void Visit(HandOffMallocCtrl* control) = 0;
  virtual void Visit(GeneralMallocCtrl* control) = 0;
  virtual void Visit(FixedSizeMallocCtrl* control) = 0;
  virtual void Visit(SystemMallocCtrl* control) = 0;
  virtual void Visit(MallocCtrl* control) = 0;
};

}  // namespace du

#endif
