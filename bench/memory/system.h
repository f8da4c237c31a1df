#ifndef LMKUTILS_BENCH_MEMORY_SYSTEM_H
#define LMKUTILS_BENCH_MEMORY_SYSTEM_H

#include <sched.h>

namespace bench {

// Pages of the process that are resident, as the system counts them.
struct Resident {
  double now;   // bytes
  double peak;  // bytes, the most since the process began
};
Resident GetResident();

// Keeps the calling thread on one of the processors that it may use, counted from 0 and round again.
class StayOnProcessor {
 public:
  explicit StayOnProcessor(int index);
  StayOnProcessor(const StayOnProcessor&) = delete;
  StayOnProcessor& operator=(const StayOnProcessor&) = delete;
  ~StayOnProcessor();

 private:
  cpu_set_t before_{};
};

}  // namespace bench

#endif
