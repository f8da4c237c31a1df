// Lets memory run out in white-box tests.
#ifndef LMKUTILS_TESTING_SHORTAGE_H
#define LMKUTILS_TESTING_SHORTAGE_H

#include <cstdint>

#include "lmkutils/memory/internal/shortage.h"
#include "lmkutils/os/fault/fault.h"

namespace lmktest {

// Whose memory: what objects and containers ask of the common allocator, or what locks, the allocators' own
// books and a few large tables ask of the run-time heap.
enum class Memory { kCommonAllocator, kHeap };
inline constexpr Memory kAllMemory[] = {Memory::kCommonAllocator, Memory::kHeap};

// For the length of a scope requests number `first` (from 1) and as many after it as told find no memory.
class Shortage {
 public:
  explicit Shortage(Memory memory, std::uint64_t first = 1,
                    std::uint64_t count = os::fault::kForEver) noexcept
      : memory_(memory) {
    if (memory == Memory::kCommonAllocator) {
      du::internal::shortage.Begin(first, count);
    } else {
      os::fault::Arm(os::fault::Call::kHeapAllocate, {.first = first, .count = count});
    }
  }
  ~Shortage() {
    if (memory_ == Memory::kCommonAllocator) {
      du::internal::shortage.End();
    } else {
      os::fault::Disarm(os::fault::Call::kHeapAllocate);
    }
  }
  Shortage(const Shortage&) = delete;
  Shortage& operator=(const Shortage&) = delete;

 private:
  const Memory memory_;
};

}  // namespace lmktest

#endif
