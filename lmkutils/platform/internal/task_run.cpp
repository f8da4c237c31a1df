#include "lmkutils/platform/internal/task_run.h"

#include <exception>

#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/text/symbol.h"
#include "lmkutils/trace/internal/tracing.h"
#include "lmkutils/trace/lm_debug_tracer.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du::internal {
namespace {

// Without tracing the name, which may have to be made, is not asked for. At the end of the process it cannot
// be made any more: a task of a static pool runs all the same, without a trace. Where it can be foreseen
// nothing is thrown, since not every target catches exceptions so late.
void TraceName(const char* format, Task& task) {
  if (dp::internal::TracingIsOff() || symbolTableGone.load(std::memory_order_relaxed)) return;
  try {
    dp::LMDebugTracer("du", "TaskPool")(format, task.GetName().safe_c_str());
  } catch (const dp::DeadReference&) {
  }
}

// Inside a catch block.
void TraceException() noexcept {
  const dp::LMTracer tracer("du", "TaskPool");
  try {
    throw;
  } catch (const std::exception& exception) {
    tracer(dp::TraceType::Error, "DoTask encountered a problem: %s\n", exception.what());
  } catch (...) {
    tracer(dp::TraceType::Error, "DoTask encountered an unexpected problem.\n");
  }
}

}  // namespace

void RunTask(Task& task) noexcept {
  try {
    TraceName("Starting task  [%s]", task);
    task.Run();
    TraceName("Completed task [%s]", task);
    task.TaskComplete();
  } catch (...) {
    TraceException();
  }
}

void AbortTask(Task& task) noexcept {
  try {
    task.Abort();
  } catch (...) {
    TraceException();
  }
}

}  // namespace du::internal
