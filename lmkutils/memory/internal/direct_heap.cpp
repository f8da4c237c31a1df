#include "lmkutils/memory/internal/direct_heap.h"

#include <cstddef>
#include <cstdint>
#include <limits>

#include "lmkutils/os/memory.h"

namespace du::internal {
namespace {

// 64-bit run-time heaps put every block on 16 bytes, 32-bit ones promise 8 only: there, blocks that have to
// lie on 16 are cut from larger ones, the distance to whose beginning, 8 or 16, is kept in front of them.
constexpr bool kHeapAlignsTo16 = sizeof(void*) == 8;
constexpr std::size_t kAlignment = 16;

bool NeedsCutting(unsigned size) noexcept {
  return !kHeapAlignsTo16 && size != 0 && size % kAlignment == 0;
}

void* Cut(char* block) noexcept {
  if (block == nullptr) return nullptr;
  const std::size_t distance = kAlignment - reinterpret_cast<std::uintptr_t>(block) % kAlignment;
  char* const aligned = block + distance;
  *reinterpret_cast<std::uint32_t*>(aligned - sizeof(std::uint32_t)) = static_cast<std::uint32_t>(distance);
  return aligned;
}

}  // namespace

void* DirectAllocate(unsigned size) noexcept {
  if (!NeedsCutting(size)) return os::HeapAllocate(size == 0 ? 1 : size);
  if (std::uint64_t{size} + kAlignment > std::numeric_limits<std::size_t>::max()) return nullptr;
  return Cut(static_cast<char*>(os::HeapAllocate(size + kAlignment)));
}

void DirectFree(void* block, unsigned size) noexcept {
  if (block != nullptr && NeedsCutting(size)) {
    char* const aligned = static_cast<char*>(block);
    block = aligned - *reinterpret_cast<std::uint32_t*>(aligned - sizeof(std::uint32_t));
  }
  os::HeapFree(block);
}

}  // namespace du::internal
