#ifndef LMKUTILS_BENCH_MEMORY_TRACE_H
#define LMKUTILS_BENCH_MEMORY_TRACE_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace bench {

// The same numbers for every contender; a multiplicative generator costs about a nanosecond.
class Numbers {
 public:
  explicit Numbers(unsigned seed) : state_(seed * 2654435769U + 1) {}

  std::uint32_t Next() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::uint32_t>(state_ >> 32);
  }
  std::size_t Below(std::size_t limit) { return (std::uint64_t{Next()} * limit) >> 32; }

 private:
  std::uint64_t state_;
};

// Sizes as programs ask for them: 31 of 32 are between 16 bytes and 1 KiB, the others up to 16 KiB; in both
// ranges each doubling is as frequent as the next. 409 bytes on average.
class Sizes {
 public:
  Sizes() {
    Numbers numbers(1);
    for (std::size_t i = 0; i < sizes_.size(); ++i) {
      const bool isLarge = i % 32 == 0;
      const double from = isLarge ? 1024 : 16;
      const double to = isLarge ? 16384 : 1024;
      sizes_[i] = static_cast<std::uint16_t>(from * std::pow(to / from, numbers.Next() / 4294967296.0));
    }
  }
  std::size_t Any(Numbers& numbers) const { return sizes_[numbers.Next() % sizes_.size()]; }

 private:
  std::array<std::uint16_t, 4096> sizes_;
};

// A program in the middle of its life: many blocks of many sizes, of which any may go next.
template <class Heap>
class LiveBlocks {
 public:
  static constexpr std::size_t kCount = 100'000;

  LiveBlocks(const Heap& heap, unsigned seed) : heap_(heap), numbers_(seed), blocks_(kCount) {
    for (Block& block : blocks_) Fill(block);
  }
  LiveBlocks(const LiveBlocks&) = delete;
  LiveBlocks& operator=(const LiveBlocks&) = delete;
  ~LiveBlocks() {
    for (const Block& block : blocks_) heap_.Free(block.start, block.size);
  }

  // Frees some block and puts one of another size in its place.
  void ReplaceOne() {
    Block& block = blocks_[numbers_.Below(blocks_.size())];
    heap_.Free(block.start, block.size);
    Fill(block);
  }

  const auto& GetBlocks() const { return blocks_; }

 private:
  struct Block {
    void* start = nullptr;
    std::size_t size = 0;
  };

  void Fill(Block& block) {
    block.size = sizes_.Any(numbers_);
    block.start = heap_.Allocate(block.size);
    *static_cast<std::size_t*>(block.start) = block.size;  // who asks for a block writes to it
  }

  Heap heap_;
  Numbers numbers_;
  Sizes sizes_;
  std::vector<Block> blocks_;
};

}  // namespace bench

#endif
