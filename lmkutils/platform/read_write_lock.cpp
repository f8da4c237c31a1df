#include "lmkutils/platform/read_write_lock.h"

#include <atomic>
#include <cassert>
#include <new>

#include "lmkutils/os/memory.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/read_write_state.h"
#include "lmkutils/platform/internal/thread_records.h"
#include "lmkutils/platform/semaphore.h"

namespace dp {

using State = internal::ReadWriteState;
using internal::ThreadRecord;
using internal::ThreadRecords;

namespace {
constexpr unsigned kNoLimit = 0;  // of Semaphore::Wait
}

// Who may enter is decided by steps of one atomic word, each taken from the word that it replaces; no step
// waits. A thread that has to wait does so at a gate afterwards. A gate counts units, so a unit may come
// before its waiter does; a later reader may take the unit meant for an earlier one, who then takes the later
// one's.
struct ReadWriteLock::Impl {
  ThreadRecords records;
  std::atomic<State::Word> state{0};
  Semaphore readerGate;
  Semaphore writerGate;

  static_assert(std::atomic<State::Word>::is_always_lock_free);

  template <class Transition>
  State::Step Advance(Transition transition) noexcept {
    State::Word seen = state.load(std::memory_order_relaxed);
    for (;;) {
      const State::Step step = transition(seen);
      assert(State::IsConsistent(step.next));
      if (state.compare_exchange_weak(seen, step.next, std::memory_order_acq_rel,
                                      std::memory_order_relaxed)) {
        return step;
      }
    }
  }

  // Takes the step only while `admits` says so of the word.
  template <class Condition, class Transition>
  bool AdvanceIf(Condition admits, Transition transition) noexcept {
    State::Word seen = state.load(std::memory_order_relaxed);
    while (admits(seen)) {
      if (state.compare_exchange_weak(seen, transition(seen).next, std::memory_order_acquire,
                                      std::memory_order_relaxed)) {
        return true;
      }
    }
    return false;
  }

  void Wake(const State::Step& step) {
    if (step.wakeWriter) writerGate.Signal();
    readerGate.Signal(step.wakeReaders);
  }
};

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
  ThreadRecord& record = impl_->records.Obtain(os::CurrentThreadToken());
  if (record.readDepth == 0 && record.writeDepth == 0 && impl_->Advance(State::BeginRead).wait) {
    impl_->readerGate.Wait(kNoLimit);
  }
  ++record.readDepth;
}

bool ReadWriteLock::TryReadLock() {
  ThreadRecord& record = impl_->records.Obtain(os::CurrentThreadToken());
  const bool holds = record.readDepth != 0 || record.writeDepth != 0;
  if (!holds && !impl_->AdvanceIf(State::MayRead, State::BeginRead)) {
    ThreadRecords::GiveUpIfIdle(record);
    return false;
  }
  ++record.readDepth;
  return true;
}

void ReadWriteLock::ReadUnlock() {
  ThreadRecord* const record = impl_->records.Find(os::CurrentThreadToken());
  const bool holds = record != nullptr && record->readDepth != 0;
  assert(holds);
  if (!holds || --record->readDepth != 0 || record->writeDepth != 0) return;
  ThreadRecords::GiveUpIfIdle(*record);
  impl_->Wake(impl_->Advance(State::EndRead));
}

void ReadWriteLock::WriteLock() {
  ThreadRecord& record = impl_->records.Obtain(os::CurrentThreadToken());
  if (record.writeDepth == 0) {
    const bool reads = record.readDepth != 0;
    const auto beginWrite = [reads](State::Word word) { return State::BeginWrite(word, reads); };
    if (impl_->Advance(beginWrite).wait) impl_->writerGate.Wait(kNoLimit);
  }
  ++record.writeDepth;
}

bool ReadWriteLock::TryWriteLock() {
  ThreadRecord& record = impl_->records.Obtain(os::CurrentThreadToken());
  if (record.writeDepth == 0 && !impl_->AdvanceIf(State::MayWrite, State::BeginWriteAtOnce)) {
    ThreadRecords::GiveUpIfIdle(record);
    return false;
  }
  ++record.writeDepth;
  return true;
}

void ReadWriteLock::WriteUnlock() {
  ThreadRecord* const record = impl_->records.Find(os::CurrentThreadToken());
  const bool holds = record != nullptr && record->writeDepth != 0;
  assert(holds);
  if (!holds || --record->writeDepth != 0) return;
  const bool reads = record->readDepth != 0;
  ThreadRecords::GiveUpIfIdle(*record);
  const State::Step step = impl_->Advance([reads](State::Word word) { return State::EndWrite(word, reads); });
  impl_->Wake(step);
  if (step.wait) impl_->readerGate.Wait(kNoLimit);
}

}  // namespace dp
