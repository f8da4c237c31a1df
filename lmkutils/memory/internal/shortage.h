// Lets requests of the common allocator fail that a test has chosen by number.
#ifndef LMKUTILS_MEMORY_INTERNAL_SHORTAGE_H
#define LMKUTILS_MEMORY_INTERNAL_SHORTAGE_H

#include <atomic>
#include <cstdint>

namespace du::internal {

// A finer lever than a control's fail flag: the n-th request after Begin fails, and as many after it as
// wanted. While it is on no request goes the short way through a thread's cache.
class Shortage {
 public:
  void Begin(std::uint64_t first, std::uint64_t count) noexcept;
  void End() noexcept;
  // Requests since Begin.
  std::uint64_t Requests() const noexcept { return requests_.load(std::memory_order_relaxed); }

  // For the allocator: whether the request that asks is one of those that fail.
  bool Strikes() noexcept {
    if (!isOn_.load(std::memory_order_relaxed)) [[likely]]
      return false;
    const std::uint64_t number = requests_.fetch_add(1, std::memory_order_relaxed) + 1;
    return number >= first_ && number - first_ < count_;
  }

 private:
  std::atomic<bool> isOn_{false};
  std::atomic<std::uint64_t> requests_{0};
  std::uint64_t first_ = 1;
  std::uint64_t count_ = 0;
};

extern constinit Shortage shortage;

}  // namespace du::internal

#endif
