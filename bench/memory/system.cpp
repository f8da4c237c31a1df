#include "bench/memory/system.h"

#include <fstream>
#include <string>

namespace bench {

Resident GetResident() {
  std::ifstream status("/proc/self/status");
  Resident resident{};
  std::string word;
  while (status >> word) {
    if (word == "VmHWM:") status >> resident.peak;
    if (word == "VmRSS:") status >> resident.now;
  }
  resident.peak *= 1024;
  resident.now *= 1024;
  return resident;
}

StayOnProcessor::StayOnProcessor(int index) {
  if (sched_getaffinity(0, sizeof(before_), &before_) != 0) return;
  int left = index % CPU_COUNT(&before_);
  for (std::size_t cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (!CPU_ISSET(cpu, &before_) || left-- != 0) continue;
    cpu_set_t one{};
    CPU_SET(cpu, &one);
    sched_setaffinity(0, sizeof(one), &one);
    return;
  }
}

StayOnProcessor::~StayOnProcessor() {
  sched_setaffinity(0, sizeof(before_), &before_);
}

}  // namespace bench
