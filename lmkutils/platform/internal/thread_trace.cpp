#include "lmkutils/platform/internal/thread_trace.h"

#include <exception>

#include "lmkutils/trace/lm_tracer.h"

namespace dp::internal {
namespace {

LMTracer Tracer() noexcept {
  return LMTracer("dp", "Thread");
}

}  // namespace

void TraceThreadRunsAlready() noexcept {
  Tracer()("Failed to create thread - thread is already running.\n");
}

void TraceThreadNotCreated(unsigned systemError) noexcept {
  Tracer()("Failed to create thread (%d)\n", static_cast<int>(systemError));
}

void TraceThreadException(const char* threadName) noexcept {
  try {
    try {
      throw;
    } catch (const std::exception& exception) {
      Tracer()(TraceType::Error) << " Thread " << threadName << " caught exception(\"" << exception.what()
                                 << "\").\n";
    } catch (...) {
      Tracer()(TraceType::Error) << " Thread " << threadName << " caught unknown exception.\n";
    }
  } catch (...) {  // a trace that cannot be made is not worth a process
  }
}

}  // namespace dp::internal
