// The process-wide table of interned texts.
#ifndef LMKUTILS_TEXT_INTERNAL_SYMBOL_TABLE_H
#define LMKUTILS_TEXT_INTERNAL_SYMBOL_TABLE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/text/internal/lookup_guards.h"
#include "lmkutils/text/internal/symbol_index.h"
#include "lmkutils/text/internal/symbol_statistics.h"

namespace du::internal {

// Holds each distinct text once. All operations may be called by any thread.
//
// An entry lives through these states; only the marked steps hold the lock:
//   in use     count above 0. Copies and drops that leave it above 0 touch nothing but the count, and so does
//              interning a text that is in use: it looks up under a LookupGuards::Scope and adds 1 to the
//              count only by a step that saw it above 0.
//   dropped    a drop brought the count from 1 to 0; that thread is on its way to the lock
//   pending    [lock] the dropper has put it on the list of those to free
//   revived    [lock] interning its text found it with count 0: off the list if it was there, in use again
//   awaited    [lock] ... or, if it was not on the list yet, with SymbolEntry::kAwaited in its count. The
//              last drop then leaves this mark, which is not 0, and interning may add to it
//   arrived    [lock] the dropper takes the mark away; the entry is pending if there is no reference either
//   freed      [lock] the 64th pending entry sweeps the list: all leave the index; their blocks are freed
//              without the lock, after the look-ups that may still be reading them
// So a count of 0 rises only under the lock, and what the lock's holder sees at 0 stays dead while it holds
// on.
//
// The gap between a drop to 0 and the dropper's turn at the lock is the dangerous one: if another thread
// could revive, drop and sweep the entry in between, the first one would find its block freed. It cannot.
// Whoever holds the lock finds that an entry is pending only with count 0, and that exactly one dropper is on
// its way when the count is 0 and the entry not pending, or when it is awaited; each step above keeps that
// up. So no second dropper appears before the first has arrived, nobody else makes the entry pending, and
// only what is pending is freed.
//
// Where threads run on at the end of the process, each of them may be about to change a count: it has seen
// the table open and was interrupted. Nothing is freed then.
//
// The lock is a leaf: nothing is allocated, freed, traced or interned while it is held. Storage comes from
// the common allocator (entries) and the run-time heap (index).
//
// Where the end of the process kills the other threads, one of them may have had the lock or a look-up guard.
// Nothing waits for those: making symbols then fails as after the end, what is dropped stays, and what a
// look-up might still read is left to the system.
class SymbolTable : public CommonAllocated {
 public:
  static constexpr unsigned kPendingLimit = 64;

  // The lock must outlive the table. Throws std::bad_alloc.
  explicit SymbolTable(dp::internal::LazySpinLock& lock);
  SymbolTable(const SymbolTable&) = delete;
  SymbolTable& operator=(const SymbolTable&) = delete;
  ~SymbolTable() override;
  Symbol GetDebugClassName() const override;

  // The text pointer of the entry with these bytes (none of them NUL, at least one), its count increased.
  // Throws std::bad_alloc when memory is exhausted or the text does not fit an entry, dp::DeadReference once
  // closed.
  const char* Intern(const char* text, std::size_t length);
  // The same of bytes of which the first is not NUL, up to the first NUL among them if there is one.
  const char* InternToNul(const char* text, std::size_t length);

  // Where the entry with these bytes is, if there is one; nothing keeps it there.
  const char* Find(const char* text, std::size_t length) noexcept;

  // For the thread that has brought an entry's count from 1 to 0 on its own: the entry may go, unless it is
  // in use again.
  void PutAside(const char* text) noexcept;

  // The end, for the only thread there is: later calls find the table closed. Frees every entry, in use or
  // not, unless a killed thread was inside a look-up or had the lock: then the storage is left to the system.
  // The object itself must stay.
  void Close() noexcept;
  // The end while other threads may be copying and dropping symbols: as Close, but every entry stays.
  void Abandon() noexcept { closed_.store(true); }

  // For a forked process: the threads that were inside an operation are not there to end it. The caller holds
  // the lock. What they were about to free stays.
  void ForgetOtherThreads() noexcept;

  [[nodiscard]] SymbolStatistics CollectStatistics();

  // Null when the structure is in order, else what is wrong. For tests and debug builds.
  [[nodiscard]] const char* FindFault();

 private:
  struct EntryDeleter {
    void operator()(const char* text) const noexcept;
  };
  using EntryOwner = std::unique_ptr<const char, EntryDeleter>;

  // What a sweep took out of the index, to be freed without the lock.
  struct Swept {
    const char* texts[kPendingLimit];
    unsigned count = 0;
  };

  class Section;

  static EntryOwner MakeEntry(const char* text, std::size_t length);

  // Of a text that was not interned without the lock.
  enum class Absence { kUnsettled, kNew, kUnused };  // no entry; one with count 0
  struct InUse {
    const char* text;
    Absence absence;
  };
  template <auto kFind>
  InUse InternInUse(LookupGuards::Places places, std::uint32_t hash, const char* text,
                    std::size_t length) noexcept;
  InUse InternUnsettled(std::uint32_t hash, const char* text, std::size_t length, Absence absence) noexcept;
  const char* InternByLock(std::uint32_t hash, const char* text, std::size_t length, Absence absence);
  const char* InternSlowly(std::uint32_t hash, const char* text, std::size_t length, Absence absence);
  const char* InternToNulSlowly(std::uint32_t hash, const char* text, std::size_t length, Absence absence);
  template <auto kOtherwise>
  const char* InternFirst(const char* text, std::size_t length);
  const char* InternLong(const char* text, std::size_t length);
  const char* InternLongToNul(const char* text, std::size_t length);
  const char* InternKnown(std::uint32_t hash, const char* text, std::size_t length) noexcept;
  const char* InternNew(std::uint32_t hash, const char* text, std::size_t length);
  unsigned BucketsForOneMore() const noexcept;
  void Revive(const char* text) noexcept;
  void Sweep(Swept& swept) noexcept;
  void Free(const Swept& swept) noexcept;
  template <class Use>
  bool UseBuckets(Use use);
  const char* FindFaultLocked(std::vector<unsigned>& ids) const;

  dp::internal::LazySpinLock& lock_;
  std::atomic<bool> closed_{false};
  std::atomic<SymbolIndex*> index_;        // owned; changed under the lock, read without it inside a guard
  alignas(64) unsigned pendingCount_ = 0;  // this and the list: under the lock
  const char* pending_[kPendingLimit] = {};
  LookupGuards guards_;
};

}  // namespace du::internal

#endif
