#include "lmkutils/os/fork_hooks.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include <pthread.h>

namespace os {
namespace {

constexpr std::size_t kRanks = 5;

struct Entry {
  std::atomic<bool> isAdded{false};
  ForkHooks hooks{};
};

// The system runs the hooks in the order in which they were added, which is any; so it is given one set of
// them, and these go by rank.
constinit std::array<Entry, kRanks> entries;

// The ranks whose hooks the forking thread has called, a bit each: one that is added in the middle of a fork
// has its turn at the next. The thread's own, since a lock of ours would come outside all others, and a
// consumer of traces may fork.
constinit thread_local std::uint32_t heldRanks = 0;

void Before() noexcept {
  heldRanks = 0;
  for (std::size_t rank = 0; rank < kRanks; ++rank) {
    if (!entries[rank].isAdded.load(std::memory_order_acquire)) continue;
    entries[rank].hooks.before();
    heldRanks |= 1U << rank;
  }
}

void After(ForkHook ForkHooks::*hook) noexcept {
  for (std::size_t rank = kRanks; rank-- != 0;) {
    if ((heldRanks >> rank & 1U) != 0) (entries[rank].hooks.*hook)();
  }
}

}  // namespace

bool AddForkHooks(ForkRank rank, const ForkHooks& hooks) noexcept {
  Entry& entry = entries[static_cast<std::size_t>(rank)];
  entry.hooks = hooks;
  entry.isAdded.store(true, std::memory_order_release);
  // No static that is initialised at run time: a child made meanwhile would wait for its initialiser's
  // thread.
  static constinit std::atomic<bool> isKnown{false};
  if (isKnown.exchange(true)) return true;
  const int error = pthread_atfork(
      Before, [] { After(&ForkHooks::inParent); }, [] { After(&ForkHooks::inChild); });
  if (error != 0) isKnown.store(false);  // the next call tries again
  return error == 0;
}

}  // namespace os
