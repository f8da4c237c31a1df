// The trace controller under the name by which a program starts tracing.
#ifndef LMKUTILS_TRACE_LM_TRACE_CONTROLLER_H
#define LMKUTILS_TRACE_LM_TRACE_CONTROLLER_H

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_controller.h"

namespace dp {

// Adds nothing to its base but the accessor: dp::LMTraceController::Instance().Initialize() is what a program
// calls once at its start.
class LMK_API LMTraceController : public TraceController {
 public:
  // The same object as TraceController::Instance(); throws the same.
  static LMTraceController& Instance();

 protected:
  LMTraceController() = default;
  ~LMTraceController() override;
};

LMK_API unsigned GetLongevity(LMTraceController*) noexcept;

}  // namespace dp

#endif
