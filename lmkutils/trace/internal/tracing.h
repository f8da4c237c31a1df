// What tracers and records ask of the controller.
#ifndef LMKUTILS_TRACE_INTERNAL_TRACING_H
#define LMKUTILS_TRACE_INTERNAL_TRACING_H

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "lmkutils/trace/trace_formatter.h"

namespace dp::internal {

// The answer to the first question of every tracer call, kept by the controller.
enum class TraceState : int {
  kUnknown,  // the controller was not asked for yet
  kOff,
  kOn,
  kEnded  // torn down while tracing was on: records are lost, and counted
};
extern std::atomic<TraceState> traceState;

inline bool TracingIsOff() noexcept {
  return traceState.load(std::memory_order_relaxed) == TraceState::kOff;
}

// The slow side of a tracer call: makes the controller if need be and asks it. A live record, or an inert one
// when tracing is off or anything fails.
TraceFormatter MakeRecord(TraceType type, const char* key, const char* subKey) noexcept;
// Makes, fills and delivers a record.
void TraceFormatted(TraceType type, const char* key, const char* subKey, const char* format,
                    std::va_list& args) noexcept;
void TracePairs(TraceType type, const char* key, const char* subKey,
                const std::vector<std::string>& pairs) noexcept;
// True when the debug mask of the key and sub-key shares a bit with `mask`.
bool DebugMaskMatches(unsigned mask, const char* key, const char* subKey) noexcept;

// A live record of this moment and thread. Throws std::logic_error when there is no clock.
TraceFormatter StampedRecord(TraceType type, const char* key, const char* subKey);
// Takes the process id that records bear from now on, at the controller's birth and in a child process after
// a fork: asking for it each time would cost a quarter of a record.
void RememberProcessId() noexcept;

// The end of a record: hands it to the controller, or counts it as dropped.
void Deliver(const TraceFormatter& record) noexcept;

// Records that reached no consumer; see TraceController::GetDroppedCount.
void CountDropped() noexcept;
std::uint64_t DroppedCount() noexcept;

}  // namespace dp::internal

#endif
