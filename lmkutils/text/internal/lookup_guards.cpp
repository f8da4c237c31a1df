#include "lmkutils/text/internal/lookup_guards.h"

#include <chrono>
#include <thread>

#include "lmkutils/os/thread.h"

namespace du::internal {

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
