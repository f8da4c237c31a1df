#ifndef LMKUTILS_BENCH_TRACE_ROWS_H
#define LMKUTILS_BENCH_TRACE_ROWS_H

#include <cstddef>
#include <string>

#include "bench/bench.h"

namespace bench {

inline constexpr char kOffPrintf[] = "call while tracing is off, printf form";
inline constexpr char kOffStream[] = "call while tracing is off, stream form";
inline constexpr char kOffDebug[] = "call while tracing is off, debug tracer with a mask";
inline constexpr char kPlain[] = "plain line to a file, flushed";
inline constexpr char kJson[] = "JSON line to a file, flushed";

// What every record says, and the size of a whole record of ours with it.
inline constexpr char kPart[] = "gearbox housing";
inline constexpr std::size_t kPlainBytes = 96;
inline constexpr std::size_t kJsonBytes = 200;

// A file of this process for a contender's records, in a folder of its own; removed at the end of the
// process.
std::string TraceFile(const std::string& name);

// A call, a load and a branch, in a source file of its own.
void CallLoadBranch(const char* format, int number, const char* text);

}  // namespace bench

#endif
