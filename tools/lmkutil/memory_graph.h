// The allocation controls of the process and who supplies whom.
#ifndef LMKUTIL_MEMORY_GRAPH_H
#define LMKUTIL_MEMORY_GRAPH_H

#include <string>
#include <vector>

namespace lmkutil {

struct MemoryControl {
  unsigned index = 0;  // in the registry
  std::string name;
  unsigned bytesInUse = 0;
  unsigned bytesHeld = 0;
  bool handsOff = false;            // a pool: what it hands out is counted by its suppliers
  std::vector<unsigned> suppliers;  // their indexes, each once, ascending
};

struct MemoryGraph {
  std::vector<MemoryControl> controls;  // ascending by index
};

// As the registry has it at this moment. Throws std::bad_alloc.
MemoryGraph ReadMemoryGraph();

}  // namespace lmkutil

#endif
