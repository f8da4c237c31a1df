// The arithmetic of the page-level suppliers: runs of units inside large mappings.
#ifndef LMKUTILS_MEMORY_INTERNAL_PAGE_ARENA_H
#define LMKUTILS_MEMORY_INTERNAL_PAGE_ARENA_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "lmkutils/memory/internal/malloc_backed.h"

namespace du::internal {

// Where an arena gets its mappings from and how large they are.
struct PageRequests {
  std::size_t smallest;       // bytes of the first mapping
  std::size_t largest;        // bytes of a mapping, unless one block needs more
  std::size_t growthDivisor;  // a new mapping has this fraction of what is held
  std::size_t unit;           // bytes; a power of two from 64; blocks are whole units
  void* (*map)(void* hint, std::size_t size) noexcept;
  void (*unmap)(void* address, std::size_t size) noexcept;
};

// Gives runs of units out of chunks that it maps. A run whose size is a multiple of kLargeAlignment is
// aligned to it; every run is aligned to the unit. Best fit among the runs of a power-of-two range,
// neighbours merged at once (boundary tags, D. Knuth, The Art of Computer Programming 1, 2.5; the tags stand
// beside the memory, in one word a unit). One empty chunk is kept in reserve, others go back to the system at
// once. Not thread-safe: the supplier locks.
class PageArena {
 public:
  static constexpr std::size_t kLargeAlignment = 8192;

  explicit PageArena(const PageRequests& requests) noexcept : requests_(requests) {}
  PageArena(const PageArena&) = delete;
  PageArena& operator=(const PageArena&) = delete;
  ~PageArena();

  struct Block {
    void* address;  // null when the system has no memory
    std::size_t size;
  };
  Block Allocate(std::size_t size) noexcept;
  // `block` came from Allocate of this arena.
  void Free(void* block) noexcept;
  // Gives the empty chunks back to the system.
  void Purge() noexcept;

  std::size_t BytesAllocated() const noexcept { return allocated_; }
  std::size_t BytesHeld() const noexcept { return held_; }
  // Whether tags, free lists and counts agree. For tests and debug builds.
  bool IsInSaneState() const noexcept;

 private:
  struct Chunk {
    char* base;          // first usable byte, aligned
    void* mapping;       // as the system gave it
    std::size_t mapped;  // bytes of the mapping
    std::uint32_t units;
    std::uint32_t freeUnits;
    std::uint32_t* tags;  // one a unit; only those of a run's first and last unit mean something
  };
  // Stands in the first bytes of a free run.
  struct FreeRun {
    FreeRun* previous;
    FreeRun* next;
    Chunk* chunk;
  };
  static constexpr std::uint32_t kUsed = 0x80000000U;
  static constexpr unsigned kBins = 32;

  static unsigned BinOf(std::uint32_t units) noexcept;
  std::uint32_t UnitOf(const Chunk& chunk, const void* address) const noexcept;
  char* AddressOf(const Chunk& chunk, std::uint32_t unit) const noexcept;
  static void Tag(const Chunk& chunk, std::uint32_t first, std::uint32_t units, std::uint32_t used) noexcept;
  std::uint32_t SkipFor(const Chunk& chunk, std::uint32_t first, std::size_t alignment) const noexcept;
  void AddFree(Chunk& chunk, std::uint32_t first, std::uint32_t units) noexcept;
  void RemoveFree(Chunk& chunk, std::uint32_t first) noexcept;
  FreeRun* FindFit(std::uint32_t units, std::size_t alignment) const noexcept;
  void* Take(FreeRun* run, std::uint32_t units, std::size_t alignment) noexcept;
  bool MapChunk(std::size_t bytes) noexcept;
  void Unmap(Chunk* chunk) noexcept;
  Chunk* ChunkOf(const void* block) const noexcept;

  const PageRequests requests_;
  MallocVector<Chunk*> chunks_;  // by address
  std::array<FreeRun*, kBins> bins_{};
  std::size_t allocated_ = 0;
  std::size_t held_ = 0;
  unsigned emptyChunks_ = 0;
};

}  // namespace du::internal

#endif
