#include "lmkutils/memory/internal/shortage.h"

#include "lmkutils/memory/internal/attention.h"

namespace du::internal {

constinit Shortage shortage;

void Shortage::Begin(std::uint64_t first, std::uint64_t count) noexcept {
  first_ = first;
  count_ = count;
  requests_.store(0, std::memory_order_relaxed);
  isOn_.store(true, std::memory_order_release);
  attention.AddFailing();
}

void Shortage::End() noexcept {
  attention.RemoveFailing();
  isOn_.store(false, std::memory_order_release);
}

}  // namespace du::internal
