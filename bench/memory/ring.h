#ifndef LMKUTILS_BENCH_MEMORY_RING_H
#define LMKUTILS_BENCH_MEMORY_RING_H

#include <array>
#include <atomic>
#include <cstddef>
#include <thread>

namespace bench {

// Hands pointers from one thread to one other. Each side keeps the place of the other as it last saw it, so
// that the lines of the cache change hands as seldom as can be.
class Ring {
 public:
  void Put(void* block) {
    for (int turn = 0; put_ - seenTaken_ == kSize; ++turn) {
      seenTaken_ = taken_.load(std::memory_order_acquire);
      Wait(turn);
    }
    blocks_[put_ % kSize] = block;
    // Told in groups, and at once when it is the end.
    if (++put_ % kGroup == 0 || block == nullptr) putShown_.store(put_, std::memory_order_release);
  }

  void* Take() {
    for (int turn = 0; take_ == seenPut_; ++turn) {
      seenPut_ = putShown_.load(std::memory_order_acquire);
      Wait(turn);
    }
    void* block = blocks_[take_ % kSize];
    if (++take_ % kGroup == 0) taken_.store(take_, std::memory_order_release);
    return block;
  }

 private:
  static constexpr std::size_t kSize = 4096;
  static constexpr std::size_t kGroup = 64;

  // The other side is at work on its own processor as a rule, and soon done; where it is not, it needs this
  // one.
  static void Wait(int turn) {
    if (turn >= 2000) std::this_thread::yield();
  }

  alignas(128) std::size_t put_ = 0;  // of the one thread
  std::size_t seenTaken_ = 0;
  alignas(128) std::size_t take_ = 0;  // of the other
  std::size_t seenPut_ = 0;
  alignas(128) std::atomic<std::size_t> putShown_{0};
  alignas(128) std::atomic<std::size_t> taken_{0};
  alignas(128) std::array<void*, kSize> blocks_{};
};

}  // namespace bench

#endif
