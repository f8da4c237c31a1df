// Storage for what a table keeps.
#ifndef LMKUTILS_L10N_INTERNAL_ARENA_H
#define LMKUTILS_L10N_INTERNAL_ARENA_H

#include <cstddef>
#include <memory>
#include <vector>

namespace du::internal {

// Gives out pieces of memory, which stay where they are until the arena goes. Its blocks are large, so that
// thousands of pieces take tens of allocations, and nothing is ever moved to grow.
class Arena {
 public:
  static constexpr std::size_t kAlignment = 8;

  // Throws std::bad_alloc.
  char* Allocate(std::size_t size);

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;  // in the last block that pieces share
  std::size_t left_ = 0;
};

}  // namespace du::internal

#endif
