#include "lmkutils/trace/internal/tracing.h"

namespace dp::internal {

constinit std::atomic<TraceState> traceState{TraceState::kOff};

TraceFormatter MakeRecord(TraceType, const char*, const char*) noexcept {
  return TraceFormatter();
}

void TraceFormatted(TraceType, const char*, const char*, const char*, std::va_list&) noexcept {}

void TracePairs(TraceType, const char*, const char*, const std::vector<std::string>&) noexcept {}

bool DebugMaskMatches(unsigned, const char*, const char*) noexcept {
  return false;
}

void Deliver(const TraceFormatter&) noexcept {}

}  // namespace dp::internal
