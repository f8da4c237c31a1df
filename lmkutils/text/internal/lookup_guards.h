// Keeps memory alive that look-ups without a lock may still be reading.
#ifndef LMKUTILS_TEXT_INTERNAL_LOOKUP_GUARDS_H
#define LMKUTILS_TEXT_INTERNAL_LOOKUP_GUARDS_H

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace du::internal {

// A look-up enters a guard, reads, and leaves. Whoever has taken something out of reach waits, before freeing
// it, until every look-up that was under way has left.
//
// Why that is safe. Entering is a sequentially consistent write, taking out of reach is one too, and so are
// the look-up's readings of what leads there and the waiter's readings of the guards. In their single order,
// if the waiter reads a guard before the look-up entered it, what led there (the pointer to an index, a
// group's tags) was overwritten before the look-up read it: it reads that value or a later one, whoever wrote
// it, so it cannot have found what will be freed. Otherwise the waiter finds the guard entered and waits for
// its next value; leaving is a release, the waiter's reading an acquire, so everything that the look-up read
// comes before the freeing.
//
// A look-up holds no lock, calls nothing and never waits, so waiting for it is short; entering costs one
// atomic step on a cache line that other threads seldom use. Constant-initialised.
class LookupGuards {
 public:
  // Where to enter. The thread's own guard is free as a rule, and needs no call.
  enum class Places { kOwn, kAny };

  // One look-up; `Entered` is false when the guards were busy: then nothing may be read.
  class Scope {
   public:
    explicit Scope(LookupGuards& guards, Places places = Places::kAny) noexcept;
    ~Scope() {
      if (word_ != nullptr) word_->store(entered_ + 1, std::memory_order_release);
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    [[nodiscard]] bool Entered() const noexcept { return word_ != nullptr; }

   private:
    std::atomic<std::uint32_t>* word_;
    std::uint32_t entered_;  // what we have written there
  };

  // Waits for the look-ups that are under way, not for later ones; must not be called inside one. At most
  // about so many milliseconds: false when one was still there then, or belongs to a thread that is no more.
  static constexpr unsigned kNoLimit = 0xFFFFFFFFu;
  bool Await(unsigned milliseconds = kNoLimit) const noexcept;

  // Takes all look-ups for over, since the threads in them are gone.
  void ForgetAll() noexcept;

 private:
  // Enters another one that is free; null when all are busy.
  std::atomic<std::uint32_t>* EnterAny() noexcept;

  static constexpr std::size_t kCount = 32;
  struct alignas(64) Word {
    std::atomic<std::uint32_t> sequence{0};  // odd while entered
  };
  // The calling thread's own: the stacks of threads lie far apart, so a middle part of a local's address
  // tells them apart at no cost. Two threads may share one.
  static std::size_t Own() noexcept {
    static_assert(std::has_single_bit(kCount));
    const char here = 0;
    const auto address = reinterpret_cast<std::uintptr_t>(&here) >> 16;
    return static_cast<std::uint32_t>(address) * 0x9E3779B1u >> (32 - std::bit_width(kCount - 1));
  }

  Word words_[kCount];
};

inline LookupGuards::Scope::Scope(LookupGuards& guards, Places places) noexcept
    : word_(&guards.words_[Own()].sequence) {
  std::uint32_t left = word_->load(std::memory_order_relaxed);
  entered_ = left + 1;
  if (left % 2 == 0 && word_->compare_exchange_strong(left, entered_)) return;
  word_ = places == Places::kOwn ? nullptr : guards.EnterAny();
  if (word_ != nullptr) entered_ = word_->load(std::memory_order_relaxed);
}

}  // namespace du::internal

#endif
