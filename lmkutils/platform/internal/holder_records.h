// What a read-write lock knows of each thread that holds it or waits for it.
#ifndef LMKUTILS_PLATFORM_INTERNAL_HOLDER_RECORDS_H
#define LMKUTILS_PLATFORM_INTERNAL_HOLDER_RECORDS_H

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "lmkutils/platform/internal/read_write_state.h"

namespace dp::internal {

// How often one thread holds the lock. The depths belong to the owner alone.
struct HolderRecord {
  std::atomic<std::uintptr_t> owner{0};  // os::CurrentThreadToken; 0: nobody's
  std::int32_t readDepth = 0;
  std::int32_t writeDepth = 0;
  ReadWriteState::Word bit = 0;  // its place in the state word; 0 in the list
};

// A thread has a record from its first lock to its last unlock; then anybody may claim it. So there are no
// more records than there were holders at one time, and no thread finds depths that another one left behind,
// unless that one ended with the lock in its hands.
//
// The first few records are part of the lock, and one bit of the state word each says whether they are
// claimed: the step that admits a thread claims its record as well, and the step by which it leaves gives it
// up. Threads beyond those share a list that only grows, pushed at the front by compare-and-swap and
// searched without a lock.
class HolderRecords {
 public:
  using Word = ReadWriteState::Word;

  HolderRecords() noexcept = default;
  ~HolderRecords();
  HolderRecords(const HolderRecords&) = delete;
  HolderRecords& operator=(const HolderRecords&) = delete;

  // The thread's record, given any word that was current since it got one; null when it has none.
  HolderRecord* Find(Word word, std::uintptr_t thread) noexcept {
    auto claimed =
        static_cast<unsigned>((word & ReadWriteState::kRecordMask) >> ReadWriteState::kRecordShift);
    for (HolderRecord* record = own_.data(); claimed != 0; claimed >>= 1, ++record) {
      if (record->owner.load(std::memory_order_relaxed) == thread) return record;
    }
    return list_.load(std::memory_order_relaxed) == nullptr ? nullptr : FindInList(thread);
  }

  // The bit of a free record of the lock's own; 0 when all are claimed. Who sets the bit has to Mark the
  // record.
  static constexpr Word FreeBit(Word word) noexcept {
    const Word unclaimed = ~word & ReadWriteState::kRecordMask;
    return unclaimed & (~unclaimed + 1);
  }
  HolderRecord& Mark(Word bit, std::uintptr_t thread) noexcept {
    HolderRecord& record =
        own_[static_cast<std::size_t>(std::countr_zero(bit)) - ReadWriteState::kRecordShift];
    record.owner.store(thread, std::memory_order_relaxed);
    record.bit = bit;
    return record;
  }

  // Claims a record of the list. Throws std::bad_alloc.
  HolderRecord& ClaimFromList(std::uintptr_t thread);

  // Gives a record with depths of 0 up and returns the bit that the leaving step has to clear; 0 for one of
  // the list. The owner goes before the bit: who sees the bit of a record claimed anew must not find itself
  // in it.
  static Word GiveUp(HolderRecord& record) noexcept {
    const Word bit = record.bit;
    record.owner.store(0, std::memory_order_release);
    return bit;
  }

  // The number of records in the list, claimed or not.
  std::size_t ListLength() const noexcept;

 private:
  struct Listed {
    HolderRecord record;
    Listed* next = nullptr;
  };

  HolderRecord* FindInList(std::uintptr_t thread) noexcept;

  std::array<HolderRecord, 8> own_;
  std::atomic<Listed*> list_{nullptr};
};

}  // namespace dp::internal

#endif
