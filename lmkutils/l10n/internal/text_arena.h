// Storage for the texts of a table.
#ifndef LMKUTILS_L10N_INTERNAL_TEXT_ARENA_H
#define LMKUTILS_L10N_INTERNAL_TEXT_ARENA_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace du::internal {

// Keeps texts, each with a NUL behind it, at fixed addresses until the arena goes. Blocks are large, so that
// thousands of texts take tens of allocations.
class TextArena {
 public:
  // Throws std::bad_alloc.
  const char* Add(std::string_view text);

 private:
  char* Reserve(std::size_t size);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;  // of the last block that texts share
  std::size_t left_ = 0;
};

}  // namespace du::internal

#endif
