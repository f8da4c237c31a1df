// Keeps memory alive that look-ups without a lock may still be reading.
#ifndef LMKUTILS_TEXT_INTERNAL_LOOKUP_GUARDS_H
#define LMKUTILS_TEXT_INTERNAL_LOOKUP_GUARDS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace du::internal {

// A look-up enters a guard, reads, and leaves. Whoever has taken something out of reach waits, before freeing
// it, until every look-up that was under way has left.
//
// Why that is safe. Entering is a sequentially consistent write, taking out of reach is one too, and so are
// the look-up's readings of the shared pointers and the waiter's readings of the guards. In their single
// order, if the waiter reads a guard before the look-up entered it, the pointer was overwritten before the
// look-up read it, so the look-up cannot have found what will be freed. Otherwise the waiter finds the guard
// entered and waits for its next value; leaving is a release, the waiter's reading an acquire, so everything
// that the look-up read comes before the freeing.
//
// A look-up holds no lock, calls nothing and never waits, so waiting for it is short; entering costs one
// atomic step on a cache line that other threads seldom use. Constant-initialised.
class LookupGuards {
 public:
  // One look-up; `Entered` is false when all guards were busy: then nothing may be read.
  class Scope {
   public:
    explicit Scope(LookupGuards& guards) noexcept;
    ~Scope() {
      if (word_ != nullptr) word_->store(sequence_ + 2, std::memory_order_release);
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    [[nodiscard]] bool Entered() const noexcept { return word_ != nullptr; }

   private:
    std::atomic<std::uint32_t>* word_ = nullptr;
    std::uint32_t sequence_ = 0;
  };

  // Waits for the look-ups that are under way, not for later ones; must not be called inside one. At most
  // about so many milliseconds: false when one was still there then, or belongs to a thread that is no more.
  static constexpr unsigned kNoLimit = 0xFFFFFFFFu;
  bool Await(unsigned milliseconds = kNoLimit) const noexcept;

  // Takes all look-ups for over, since the threads in them are gone.
  void ForgetAll() noexcept;

 private:
  static constexpr std::size_t kCount = 32;
  struct alignas(64) Word {
    std::atomic<std::uint32_t> sequence{0};  // odd while entered
  };
  // Where the calling thread best starts to look for a free one: the stacks of threads lie far apart, so a
  // middle part of a local's address tells them apart at no cost.
  static std::size_t Hint() noexcept {
    static_assert(kCount <= 256 && (kCount & (kCount - 1)) == 0);
    const char here = 0;
    const auto address = reinterpret_cast<std::uintptr_t>(&here) >> 16;
    return (static_cast<std::uint32_t>(address) * 0x9E3779B1u >> 24) & (kCount - 1);
  }

  Word words_[kCount];
};

inline LookupGuards::Scope::Scope(LookupGuards& guards) noexcept {
  const std::size_t first = Hint();
  for (std::size_t i = 0; i < kCount; ++i) {
    std::atomic<std::uint32_t>& word = guards.words_[(first + i) % kCount].sequence;
    sequence_ = word.load(std::memory_order_relaxed);
    if (sequence_ % 2 == 0 && word.compare_exchange_strong(sequence_, sequence_ + 1)) {
      word_ = &word;
      return;
    }
  }
}

}  // namespace du::internal

#endif
