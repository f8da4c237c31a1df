// The process's own wall clock.
#ifndef LMKUTILS_TIME_CLOCK_H
#define LMKUTILS_TIME_CLOCK_H

#include <cstdint>

#include "lmkutils/export.h"

namespace du {

// Milliseconds since 1970-01-01 00:00:00 UTC, for stamps that must order well: never goes back within a
// process, and changes of the system's clock do not move it. The first call takes the wall clock's whole
// second as the base and starts a timer; every call gives the base plus the timer's milliseconds. An instant
// is hence only as true as that second: up to one second early, and off by what the clock was set since.
//
// Callable from any thread, from the first static initialisation to the very end of the process. Throws
// std::logic_error "Could not get realtime clock frequency." or "Could not get realtime clock value." when
// the performance counter fails; a first call that throws leaves the base to the next.
LMK_API std::int64_t GetTime();

}  // namespace du

#endif
