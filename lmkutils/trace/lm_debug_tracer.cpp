#include "lmkutils/trace/lm_debug_tracer.h"

#include <cstdarg>

#include "lmkutils/trace/internal/tracing.h"

namespace dp {

void LMDebugTracer::operator()(unsigned int mask, const char* format, ...) const noexcept {
  if (internal::TracingIsOff() || !internal::DebugMaskMatches(mask, key_, subKey_)) return;
  std::va_list args;
  va_start(args, format);
  internal::TraceFormatted(TraceType::Debug, key_, subKey_, format, args);
  va_end(args);
}

void LMDebugTracer::operator()(const char* format, ...) const noexcept {
  if (internal::TracingIsOff()) return;
  std::va_list args;
  va_start(args, format);
  internal::TraceFormatted(TraceType::Debug, key_, subKey_, format, args);
  va_end(args);
}

TraceFormatter LMDebugTracer::operator()(unsigned int mask) const noexcept {
  if (internal::TracingIsOff() || !internal::DebugMaskMatches(mask, key_, subKey_)) return TraceFormatter();
  return internal::MakeRecord(TraceType::Debug, key_, subKey_);
}

TraceFormatter LMDebugTracer::operator()() const noexcept {
  if (internal::TracingIsOff()) return TraceFormatter();
  return internal::MakeRecord(TraceType::Debug, key_, subKey_);
}

}  // namespace dp
