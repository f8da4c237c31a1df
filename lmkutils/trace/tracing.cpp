#include "lmkutils/trace/internal/tracing.h"

#include "lmkutils/os/saved_error.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/process.h"
#include "lmkutils/time/clock.h"
#include "lmkutils/trace/internal/inside_mark.h"
#include "lmkutils/trace/internal/trace_controller_impl.h"

namespace dp {
namespace internal {
namespace {

constinit std::atomic<std::uint64_t> droppedCount{0};
constinit thread_local bool insideController = false;
constinit std::atomic<int> processId{0};

// Makes the controller at the first call of all.
[[gnu::noinline]] bool IsOnAfterAll(TraceState state) noexcept {
  if (state == TraceState::kEnded) CountDropped();
  if (state != TraceState::kUnknown || InsideMark::IsSet()) return false;
  try {
    return TraceControllerImpl::Get().IsActive();
  } catch (...) {
    return false;
  }
}

// The answer behind the flag that the tracers look at.
bool TracingIsOn() noexcept {
  const TraceState state = traceState.load(std::memory_order_acquire);
  return state == TraceState::kOn || IsOnAfterAll(state);
}

// Inert when tracing is off or anything fails.
TraceFormatter LiveRecord(TraceType type, const char* key, const char* subKey) noexcept {
  if (!TracingIsOn()) return TraceFormatter();
  try {
    return StampedRecord(type, key, subKey);
  } catch (...) {
    return TraceFormatter();
  }
}

}  // namespace

constinit std::atomic<TraceState> traceState{TraceState::kUnknown};

void CountDropped() noexcept {
  droppedCount.fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t DroppedCount() noexcept {
  return droppedCount.load(std::memory_order_relaxed);
}

InsideMark::InsideMark() noexcept : outermost_(!insideController) {
  insideController = true;
}

InsideMark::~InsideMark() {
  if (outermost_) insideController = false;
}

bool InsideMark::IsSet() noexcept {
  return insideController;
}

void RememberProcessId() noexcept {
  processId.store(static_cast<int>(Process::GetCurrentProcId()), std::memory_order_relaxed);
}

TraceFormatter StampedRecord(TraceType type, const char* key, const char* subKey) {
  return TraceFormatter(du::GetTime(), type, processId.load(std::memory_order_relaxed),
                        static_cast<int>(os::CurrentThreadId()), key, subKey);
}

// Never built into a tracer: its call that finds tracing off would save registers for this one.
[[gnu::noinline]] TraceFormatter MakeRecord(TraceType type, const char* key, const char* subKey) noexcept {
  const os::SavedError saved;
  return LiveRecord(type, key, subKey);
}

// In one piece: see FileConsumer::ConsumeMessage.
[[gnu::flatten]] void TraceFormatted(TraceType type, const char* key, const char* subKey, const char* format,
                                     std::va_list& args) noexcept {
  const os::SavedError saved;
  TraceFormatter record = LiveRecord(type, key, subKey);
  if (!record.IsInert()) record.Format(format, args);
}

void TracePairs(TraceType type, const char* key, const char* subKey,
                const std::vector<std::string>& pairs) noexcept {
  const os::SavedError saved;
  LiveRecord(type, key, subKey).FormatJson(pairs);
}

bool DebugMaskMatches(unsigned mask, const char* key, const char* subKey) noexcept {
  const os::SavedError saved;
  if (!TracingIsOn()) return false;
  const TraceControllerImpl* const controller = TraceControllerImpl::Existing();
  return controller != nullptr && (mask & controller->GetDebugMask(key, subKey)) != 0;
}

void Deliver(const TraceFormatter& record) noexcept {
  const os::SavedError saved;
  if (TraceControllerImpl* const controller = TraceControllerImpl::Existing()) {
    controller->Broadcast(record);
  } else {
    CountDropped();
  }
}

}  // namespace internal
}  // namespace dp
