// du::MemPoolBlockStatistics: what a memory pool holds, class by class.
#ifndef LMKUTILS_MEMORY_MEM_POOL_BLOCK_STATISTICS_H
#define LMKUTILS_MEMORY_MEM_POOL_BLOCK_STATISTICS_H

#include <array>
#include <cstdint>
#include <vector>

#include "lmkutils/memory/malloc_ctrl.h"

namespace du {

// One size class that has an allocator.
struct MemPoolClassStatistics {
  std::array<char, MallocCtrl::NAME_LENGTH> label{};  // the allocator's name
  unsigned sizeClass = 0;
  unsigned elementSize = 0;          // bytes
  std::uint64_t elementsInUse = 0;   // held by the pool's callers
  std::uint64_t elementsCached = 0;  // free, in the caches of threads
  std::uint64_t elementsFree = 0;    // free, in the class's allocator
  std::uint64_t blocks = 0;          // taken from the supplier
  std::uint64_t sparseBlocks = 0;    // of those, with few elements in use
  std::uint64_t emptyBlocks = 0;     // of those, with none
  std::uint64_t bytesHeld = 0;
};

// A snapshot; each class is consistent in itself while others go on working.
struct MemPoolBlockStatistics {
  std::vector<MemPoolClassStatistics> classes;  // by class number
  std::uint64_t largeBlocks = 0;                // beyond the largest class
  std::uint64_t largeBytes = 0;                 // as requested
};

}  // namespace du

#endif
