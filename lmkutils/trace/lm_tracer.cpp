#include "lmkutils/trace/lm_tracer.h"

#include <cstdarg>

#include "lmkutils/trace/internal/tracing.h"

namespace dp {

void LMTracer::operator()(const char* format, ...) const noexcept {
  if (internal::TracingIsOff()) return;
  std::va_list args;
  va_start(args, format);
  internal::TraceFormatted(TraceType::Info, key_, subKey_, format, args);
  va_end(args);
}

void LMTracer::operator()(TraceType type, const char* format, ...) const noexcept {
  if (internal::TracingIsOff()) return;
  std::va_list args;
  va_start(args, format);
  internal::TraceFormatted(type, key_, subKey_, format, args);
  va_end(args);
}

TraceFormatter LMTracer::operator()(TraceType type) const noexcept {
  if (internal::TracingIsOff()) return TraceFormatter();
  return internal::MakeRecord(type, key_, subKey_);
}

void LMTracer::operator()(const std::vector<std::string>& pairs) const noexcept {
  (*this)(TraceType::Info, pairs);
}

void LMTracer::operator()(TraceType type, const std::vector<std::string>& pairs) const noexcept {
  if (internal::TracingIsOff()) return;
  internal::TracePairs(type, key_, subKey_, pairs);
}

}  // namespace dp
