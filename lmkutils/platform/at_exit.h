// The at-exit tracker: calls to run later, in order of longevity.
#ifndef LMKUTILS_PLATFORM_AT_EXIT_H
#define LMKUTILS_PLATFORM_AT_EXIT_H

#include "lmkutils/export.h"

namespace dp {

// A function that the tracker calls.
using AtExitFunction = void (*)();

// One scheduled call; owned by its tracker.
struct AtExitRecord {
  unsigned longevity;
  AtExitFunction function;  // null once cancelled
};

// The scheduled calls, largest longevity first, equal ones in the order of their scheduling. They run from
// the back: in increasing longevity, the last scheduled first among equals. One array of exactly `count`
// pointers, all from the run-time library's heap. Not thread-safe: its owner locks. Destroying it drops
// nothing; see Clear.
struct TrackerStackImpl {
  AtExitRecord** records = nullptr;
  unsigned count = 0;
};

// Adds a call. Throws std::bad_alloc, the count unchanged.
LMK_API void ScheduleAtExitCall(TrackerStackImpl& tracker, unsigned longevity, AtExitFunction function);

// Cancels every call of `function`; its records stay and are skipped when their turn comes.
LMK_API void CancelAtExitCall(TrackerStackImpl& tracker, AtExitFunction function) noexcept;

// Removes the last record (smallest longevity, among equals the one scheduled last) and calls its function
// unless cancelled. The record is gone even when the function throws, which passes through. Nothing when
// empty.
LMK_API void PopBack(TrackerStackImpl& tracker);

// Drops all records without calling anything.
LMK_API void Clear(TrackerStackImpl& tracker) noexcept;

// Each process-wide object says how long it lives by an overload `unsigned GetLongevity(Class*)` in the
// namespace and the header of its class (the pointer only selects the overload). The largest dies last:
//   dp::TraceController, dp::LMTraceController   0xFFFFFFFF
//   du::MallocCtrlRegistry                       0xFFFFFFFF
//   du::CommonAllocatorImpl                      0xFFFFFFFE
//   du::Symbol (its table)                       0xFFFFFFFD
//   dp::LmInfo                                   0xFFFFFFFC

}  // namespace dp

#endif
