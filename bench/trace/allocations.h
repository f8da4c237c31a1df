#ifndef LMKUTILS_BENCH_TRACE_ALLOCATIONS_H
#define LMKUTILS_BENCH_TRACE_ALLOCATIONS_H

#include <cstdint>

namespace bench {

// How often the process has asked the run-time's heap for memory, from any module. Without meaning beyond one
// thread at a time.
std::uint64_t Allocations();

}  // namespace bench

#endif
