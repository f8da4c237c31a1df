#include "lmkutils/trace/trace_controller.h"

#include "lmkutils/trace/internal/trace_controller_impl.h"
#include "lmkutils/trace/internal/tracing.h"

namespace dp {

TraceController& TraceController::Instance() {
  return internal::TraceControllerImpl::Get();
}

TraceController::~TraceController() = default;

std::uint64_t TraceController::GetDroppedCount() noexcept {
  return internal::DroppedCount();
}

unsigned GetLongevity(TraceController*) noexcept {
  return 0xFFFFFFFF;
}

LMTraceController& LMTraceController::Instance() {
  return internal::TraceControllerImpl::Get();
}

LMTraceController::~LMTraceController() = default;

unsigned GetLongevity(LMTraceController* controller) noexcept {
  return GetLongevity(static_cast<TraceController*>(controller));
}

}  // namespace dp
