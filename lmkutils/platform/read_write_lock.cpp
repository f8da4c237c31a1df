#include "lmkutils/platform/read_write_lock.h"

#include <atomic>
#include <cassert>
#include <new>

#include "lmkutils/os/back_off.h"
#include "lmkutils/os/memory.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/holder_records.h"
#include "lmkutils/platform/internal/read_write_state.h"
#include "lmkutils/platform/semaphore.h"

namespace dp {

using State = internal::ReadWriteState;
using internal::HolderRecord;
using internal::HolderRecords;

namespace {

constexpr unsigned kNoLimit = 0;  // of Semaphore::Wait
constexpr unsigned kSpins = 500;

State::Step BeginFreshWrite(State::Word word) noexcept {
  return State::BeginWrite(word, false);
}

}  // namespace

// Who may enter is decided by steps of one atomic word, each computed from the word that it replaces; no step
// waits. A thread that has to wait does so at a gate afterwards. A gate counts units, so a unit may come
// before its waiter does; a later reader may take the unit meant for an earlier one, who then takes the later
// one's.
struct ReadWriteLock::Impl {
  std::atomic<State::Word> state{0};
  HolderRecords records;
  Semaphore readerGate;
  Semaphore writerGate;

  static_assert(std::atomic<State::Word>::is_always_lock_free);

  bool Replace(State::Word& seen, State::Word next) noexcept {
    assert(State::IsConsistent(next));
    return state.compare_exchange_weak(seen, next, std::memory_order_acq_rel, std::memory_order_relaxed);
  }

  // A step of a thread that has its record already and keeps it, but for the bits `given` up.
  template <class Transition>
  State::Step Advance(Transition transition, State::Word given = 0) noexcept {
    State::Word seen = state.load(std::memory_order_relaxed);
    for (;;) {
      const State::Step step = transition(seen);
      if (Replace(seen, step.next & ~given)) return step;
    }
  }

  struct Entry {
    HolderRecord* record;  // null: not admitted
    bool wait;
  };

  // The first step of a thread that holds nothing, with which it claims a record, unless `admits` refuses it.
  template <class Transition, class Condition>
  Entry Enter(State::Word seen, std::uintptr_t thread, Transition transition, Condition admits) {
    HolderRecord* listed = nullptr;
    while (admits(seen)) {
      const State::Word bit = listed == nullptr ? HolderRecords::FreeBit(seen) : 0;
      if (bit == 0 && listed == nullptr) listed = &records.ClaimFromList(thread);
      const State::Step step = transition(seen);
      if (!Replace(seen, step.next | bit)) continue;
      return {.record = listed != nullptr ? listed : &records.Mark(bit, thread), .wait = step.wait};
    }
    if (listed != nullptr) records.GiveUp(*listed);
    return {.record = nullptr, .wait = false};
  }

  // The word as soon as it admits a writer, or as it is after a while. A writer that queues up is handed the
  // lock, which costs both threads a turn in the kernel.
  State::Word PollForWrite(State::Word seen) const noexcept {
    for (os::BackOff backOff(kSpins); !State::MayWrite(seen) && backOff.Pause();)
      seen = state.load(std::memory_order_relaxed);
    return seen;
  }

  void Wake(const State::Step& step) {
    if (step.wakeWriter) writerGate.Signal();
    if (step.wakeReaders != 0) readerGate.Signal(step.wakeReaders);
  }
};

namespace {

constexpr auto kAlways = [](State::Word) { return true; };

}  // namespace

ReadWriteLock::ReadWriteLock() {
  void* const storage = os::HeapAllocate(sizeof(Impl));
  if (storage == nullptr) throw std::bad_alloc();
  try {
    impl_ = new (storage) Impl;
  } catch (...) {
    os::HeapFree(storage);
    throw;
  }
}

ReadWriteLock::~ReadWriteLock() {
  impl_->~Impl();
  os::HeapFree(impl_);
}

void ReadWriteLock::ReadLock() {
  const std::uintptr_t thread = os::CurrentThreadToken();
  const State::Word word = impl_->state.load(std::memory_order_relaxed);
  if (HolderRecord* const own = impl_->records.Find(word, thread)) {
    ++own->readDepth;
    return;
  }
  const Impl::Entry entry = impl_->Enter(word, thread, State::BeginRead, kAlways);
  if (entry.wait) impl_->readerGate.Wait(kNoLimit);
  entry.record->readDepth = 1;
}

bool ReadWriteLock::TryReadLock() {
  const std::uintptr_t thread = os::CurrentThreadToken();
  const State::Word word = impl_->state.load(std::memory_order_relaxed);
  HolderRecord* record = impl_->records.Find(word, thread);
  if (record == nullptr) record = impl_->Enter(word, thread, State::BeginRead, State::MayRead).record;
  if (record == nullptr) return false;
  ++record->readDepth;
  return true;
}

void ReadWriteLock::ReadUnlock() {
  const State::Word word = impl_->state.load(std::memory_order_relaxed);
  HolderRecord* const record = impl_->records.Find(word, os::CurrentThreadToken());
  const bool holds = record != nullptr && record->readDepth != 0;
  assert(holds);
  if (!holds || --record->readDepth != 0 || record->writeDepth != 0) return;
  impl_->Wake(impl_->Advance(State::EndRead, impl_->records.GiveUp(*record)));
}

void ReadWriteLock::WriteLock() {
  const std::uintptr_t thread = os::CurrentThreadToken();
  const State::Word word = impl_->state.load(std::memory_order_relaxed);
  HolderRecord* record = impl_->records.Find(word, thread);
  bool wait = false;
  if (record == nullptr) {
    const Impl::Entry entry = impl_->Enter(impl_->PollForWrite(word), thread, BeginFreshWrite, kAlways);
    record = entry.record;
    wait = entry.wait;
  } else if (record->writeDepth == 0) {
    wait = impl_->Advance([](State::Word seen) { return State::BeginWrite(seen, true); }).wait;
  }
  if (wait) impl_->writerGate.Wait(kNoLimit);
  ++record->writeDepth;
}

bool ReadWriteLock::TryWriteLock() {
  const std::uintptr_t thread = os::CurrentThreadToken();
  const State::Word word = impl_->state.load(std::memory_order_relaxed);
  HolderRecord* record = impl_->records.Find(word, thread);
  if (record != nullptr && record->writeDepth == 0)
    return false;  // its own place among the readers is in its way
  if (record == nullptr) record = impl_->Enter(word, thread, BeginFreshWrite, State::MayWrite).record;
  if (record == nullptr) return false;
  ++record->writeDepth;
  return true;
}

void ReadWriteLock::WriteUnlock() {
  const State::Word word = impl_->state.load(std::memory_order_relaxed);
  HolderRecord* const record = impl_->records.Find(word, os::CurrentThreadToken());
  const bool holds = record != nullptr && record->writeDepth != 0;
  assert(holds);
  if (!holds || --record->writeDepth != 0) return;
  const bool reads = record->readDepth != 0;
  const auto endWrite = [reads](State::Word seen) { return State::EndWrite(seen, reads); };
  const State::Step step = impl_->Advance(endWrite, reads ? 0 : impl_->records.GiveUp(*record));
  impl_->Wake(step);
  if (step.wait) impl_->readerGate.Wait(kNoLimit);
}

}  // namespace dp
