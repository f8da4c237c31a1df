// Tracer for debug records that a mask per key and sub-key lets through.
#ifndef LMKUTILS_TRACE_LM_DEBUG_TRACER_H
#define LMKUTILS_TRACE_LM_DEBUG_TRACER_H

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_formatter.h"

namespace dp {

// As dp::LMTracer, but its records are of type Debug, and those with a mask are made only when the mask
// shares a bit with the debug mask that the environment variable "LMTRACE_DEBUG" gives "key::subKey" (the key
// alone when the sub-key is empty): see dp::TraceController::GetDebugMask.
class LMK_API LMDebugTracer {
 public:
  LMDebugTracer(const char* key, const char* subKey) noexcept : key_(key), subKey_(subKey) {}

  void operator()(unsigned int mask, const char* format, ...) const noexcept;
  void operator()(const char* format, ...) const noexcept;
  // Live records to insert into, delivered when they are destroyed.
  TraceFormatter operator()(unsigned int mask) const noexcept;
  TraceFormatter operator()() const noexcept;

 private:
  const char* key_;
  const char* subKey_;
};

}  // namespace dp

#endif
