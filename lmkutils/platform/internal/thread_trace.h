// What dp::Thread reports.
#ifndef LMKUTILS_PLATFORM_INTERNAL_THREAD_TRACE_H
#define LMKUTILS_PLATFORM_INTERNAL_THREAD_TRACE_H

namespace dp::internal {

void TraceThreadRunsAlready() noexcept;
void TraceThreadNotCreated(unsigned systemError) noexcept;

// Inside a catch block: traces the exception that is being handled, of the thread with that name.
void TraceThreadException(const char* threadName) noexcept;

}  // namespace dp::internal

#endif
