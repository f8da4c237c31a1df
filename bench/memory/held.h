#ifndef LMKUTILS_BENCH_MEMORY_HELD_H
#define LMKUTILS_BENCH_MEMORY_HELD_H

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "bench/memory/system.h"
#include "bench/memory/trace.h"

// What a heap keeps of the machine's memory: pages resident, as the system counts them for the whole process,
// less what was resident before the heap was used. Each contender is measured in a process of its own.
namespace bench {

struct Held {
  double atPeak;      // bytes
  double requested;   // bytes, the most at any moment
  double afterPurge;  // bytes
};

// All of each block is written to, so that it counts.
template <class Heap>
Held RunMixedTrace(Heap heap) {
  constexpr int kReplacements = 1'000'000;
  Held held{};
  const double before = GetResident().now;
  double own = 0;  // the trace's own table
  {
    LiveBlocks<Heap> blocks(heap, 0);
    own = static_cast<double>(sizeof(blocks) + blocks.GetBlocks().size() * sizeof(blocks.GetBlocks()[0]));
    const auto requested = [&] {
      double sum = 0;
      for (const auto& block : blocks.GetBlocks()) {
        std::memset(block.start, 1, block.size);
        sum += static_cast<double>(block.size);
      }
      return sum;
    };
    held.requested = requested();
    for (int i = 0; i < kReplacements; ++i) {
      blocks.ReplaceOne();
      if (i % 10'000 == 0) held.requested = std::max(held.requested, requested());
    }
    held.requested = std::max(held.requested, requested());
    held.atPeak = GetResident().peak - before - own;
  }
  heap.Purge();
  held.afterPurge = std::max(0.0, GetResident().now - before);
  return held;
}

template <class Heap>
double HeldOverRequested(const Heap& heap) {
  const Held held = RunMixedTrace(heap);
  return held.atPeak / held.requested;
}

template <class Heap>
double HeldAfterPurge(const Heap& heap) {
  return RunMixedTrace(heap).afterPurge / (1 << 20);
}

}  // namespace bench

#endif
