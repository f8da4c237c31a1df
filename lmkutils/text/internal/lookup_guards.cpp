#include "lmkutils/text/internal/lookup_guards.h"

#include <chrono>
#include <thread>

#include "lmkutils/os/thread.h"

namespace du::internal {

// Apart from the usual way, so that this loop costs it nothing.
[[gnu::noinline]] std::atomic<std::uint32_t>* LookupGuards::EnterAny() noexcept {
  const std::size_t first = Own() + 1;
  for (std::size_t i = 0; i < kCount; ++i) {
    std::atomic<std::uint32_t>& word = words_[(first + i) % kCount].sequence;
    std::uint32_t left = word.load(std::memory_order_relaxed);
    if (left % 2 == 0 && word.compare_exchange_strong(left, left + 1)) return &word;
  }
  return nullptr;
}

bool LookupGuards::Await(unsigned milliseconds) const noexcept {
  unsigned polls = 0;
  unsigned slept = 0;
  for (const Word& word : words_) {
    const std::uint32_t entered = word.sequence.load();
    if (entered % 2 == 0) continue;
    while (word.sequence.load() == entered) {
      // Polling first, since look-ups are short; sleeping in the end, so that a thread of lower priority that
      // was interrupted in one gets its turn.
      ++polls;
      if (polls <= 100) continue;
      if (polls <= 200) {
        std::this_thread::yield();
        continue;
      }
      if (slept == milliseconds || os::OtherThreadsKilled()) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      if (milliseconds != kNoLimit) ++slept;
    }
  }
  return true;
}

void LookupGuards::ForgetAll() noexcept {
  for (Word& word : words_) {
    const std::uint32_t sequence = word.sequence.load();
    if (sequence % 2 != 0) word.sequence.store(sequence + 1);
  }
}

}  // namespace du::internal
