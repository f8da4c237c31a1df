#include "lmkutils/text/internal/symbol_table.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>
#include <new>

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/text/hash_sizing.h"
#include "lmkutils/text/internal/lasting_symbol.h"
#include "lmkutils/text/internal/same_bytes.h"
#include "lmkutils/text/internal/text_hash.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {
namespace {

constexpr auto kOwnPlace = LookupGuards::Places::kOwn;
constexpr auto kAnyPlace = LookupGuards::Places::kAny;

// Of the described record: count, length, text and NUL; 64-bit targets keep 8 bytes more.
static_assert(sizeof(SymbolEntry) == (sizeof(void*) == 4 ? 8 : 16));

std::size_t BlockSize(std::size_t length) noexcept {
  return sizeof(SymbolEntry) + length + 1;
}

std::size_t LengthToNul(const char* text, std::size_t length) noexcept {
  const void* const nul = std::memchr(text, '\0', length);
  return nul == nullptr ? length : static_cast<std::size_t>(static_cast<const char*>(nul) - text);
}

std::uint32_t HashOf(const char* text) noexcept {
  return TextHash::Of(text, SymbolEntry::Of(text).length);
}

std::atomic<std::uint32_t>& CountOf(const char* text) noexcept {
  return SymbolEntry::Of(text).count;
}

void FreeEntry(const char* text) noexcept {
  SymbolEntry& entry = SymbolEntry::Of(text);
  const auto size = static_cast<unsigned>(BlockSize(entry.length));
  entry.~SymbolEntry();
  CommonAllocatorImpl::Deallocate(&entry, size);
}

}  // namespace

// The table's lock for a scope; not entered when the table is closed or the lock belongs to a killed thread.
class [[nodiscard]] SymbolTable::Section {
 public:
  explicit Section(SymbolTable& table) noexcept : lock_(table.lock_), locked_(Lock()) {
    entered_ = locked_ && !table.closed_.load(std::memory_order_relaxed);
  }
  ~Section() {
    if (locked_) lock_.Unlock();
  }
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;
  [[nodiscard]] bool Entered() const noexcept { return entered_; }
  void ThrowUnlessEntered() const {
    if (!entered_) throw dp::DeadReference();
  }

 private:
  [[nodiscard]] bool Lock() noexcept {
    if (lock_.TryLock()) return true;
    if (os::OtherThreadsKilled()) return false;
    lock_.Lock();
    return true;
  }

  dp::internal::LazySpinLock& lock_;
  const bool locked_;
  bool entered_;
};

void SymbolTable::EntryDeleter::operator()(const char* text) const noexcept {
  FreeEntry(text);
}

SymbolTable::SymbolTable(dp::internal::LazySpinLock& lock) : lock_(lock), index_(nullptr) {
  lock_.Get();  // so that locking cannot fail any more
  index_.store(SymbolIndex::Create(HashNextPrime(2000)).release());
}

SymbolTable::~SymbolTable() {
  Close();
}

Symbol SymbolTable::GetDebugClassName() const {
  static const LastingSymbol name("SymbolTable");
  return name.Get();
}

// A text in use is interned in few steps: the fewer there are, the more of the next look-up the processor
// begins while this one waits for memory. Short texts have a way of their own, without a call that has to be
// returned from: such a call, though it be made seldom, has the function save its registers at each entry.
template <auto kOtherwise>
const char* SymbolTable::InternFirst(const char* text, std::size_t length) {
  const std::uint32_t hash = TextHash::Of(text, length);
  const InUse found = InternInUse<&SymbolIndex::FindFirst>(kOwnPlace, hash, text, length);
  return found.text != nullptr ? found.text : (this->*kOtherwise)(hash, text, length, found.absence);
}

[[gnu::flatten]] const char* SymbolTable::Intern(const char* text, std::size_t length) {
  if (length > kShortText) return InternLong(text, length);
  return InternFirst<&SymbolTable::InternSlowly>(text, length);
}

[[gnu::noinline, gnu::flatten]] const char* SymbolTable::InternLong(const char* text, std::size_t length) {
  return InternFirst<&SymbolTable::InternSlowly>(text, length);
}

// No entry holds a NUL, so a text that is found holds none either: only those that are not found need to be
// searched for it.
[[gnu::flatten]] const char* SymbolTable::InternToNul(const char* text, std::size_t length) {
  if (length > kShortText) return InternLongToNul(text, length);
  return InternFirst<&SymbolTable::InternToNulSlowly>(text, length);
}

// The very long are searched at once, since they might be hashed for what stands behind their NUL.
[[gnu::noinline, gnu::flatten]] const char* SymbolTable::InternLongToNul(const char* text,
                                                                         std::size_t length) {
  constexpr std::size_t kVeryLong = 128;
  if (length > kVeryLong) return InternLong(text, LengthToNul(text, length));
  return InternFirst<&SymbolTable::InternToNulSlowly>(text, length);
}

const char* SymbolTable::Find(const char* text, std::size_t length) noexcept {
  const std::uint32_t hash = TextHash::Of(text, length);
  {
    const LookupGuards::Scope scope(guards_);
    if (scope.Entered()) return closed_.load() ? nullptr : index_.load()->Find(hash, text, length).text;
  }
  const Section section(*this);
  if (!section.Entered()) return nullptr;
  return index_.load(std::memory_order_relaxed)->Find(hash, text, length).text;
}

// Without the lock. A count of 0 is left alone: raising it would take the entry from under a sweep.
template <auto kFind>
SymbolTable::InUse SymbolTable::InternInUse(LookupGuards::Places places, std::uint32_t hash, const char* text,
                                            std::size_t length) noexcept {
  const LookupGuards::Scope scope(guards_, places);
  if (!scope.Entered() || closed_.load()) return {nullptr, Absence::kUnsettled};
  const SymbolIndex::Found found = (index_.load()->*kFind)(hash, text, length);
  if (found.text == nullptr) return {nullptr, found.isNew ? Absence::kNew : Absence::kUnsettled};
  std::atomic<std::uint32_t>& count = CountOf(found.text);
  std::uint32_t seen = count.load(std::memory_order_relaxed);
  while (seen != 0 && !SymbolEntry::IsPermanent(seen)) {
    if (count.compare_exchange_weak(seen, seen + 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
      if (seen >= SymbolEntry::kPinFrom) PinEntry(SymbolEntry::Of(found.text), seen);
      return {found.text, {}};
    }
  }
  return {seen != 0 ? found.text : nullptr, Absence::kUnused};
}

SymbolTable::InUse SymbolTable::InternUnsettled(std::uint32_t hash, const char* text, std::size_t length,
                                                Absence absence) noexcept {
  if (absence != Absence::kUnsettled) return {nullptr, absence};
  return InternInUse<&SymbolIndex::Find>(kAnyPlace, hash, text, length);
}

[[gnu::noinline]] const char* SymbolTable::InternSlowly(std::uint32_t hash, const char* text,
                                                        std::size_t length, Absence absence) {
  const InUse found = InternUnsettled(hash, text, length, absence);
  return found.text != nullptr ? found.text : InternByLock(hash, text, length, found.absence);
}

[[gnu::noinline]] const char* SymbolTable::InternToNulSlowly(std::uint32_t hash, const char* text,
                                                             std::size_t length, Absence absence) {
  const InUse found = InternUnsettled(hash, text, length, absence);
  if (found.text != nullptr) return found.text;
  const std::size_t lengthToNul = LengthToNul(text, length);
  return lengthToNul < length ? Intern(text, lengthToNul) : InternByLock(hash, text, length, found.absence);
}

const char* SymbolTable::InternByLock(std::uint32_t hash, const char* text, std::size_t length,
                                      Absence absence) {
  if (absence != Absence::kNew) {
    const Section section(*this);
    section.ThrowUnlessEntered();
    if (const char* present = InternKnown(hash, text, length)) return present;
  }
  return InternNew(hash, text, length);
}

// Under the lock; null when the text has no entry.
const char* SymbolTable::InternKnown(std::uint32_t hash, const char* text, std::size_t length) noexcept {
  const char* const present = index_.load(std::memory_order_relaxed)->Find(hash, text, length).text;
  if (present == nullptr) return nullptr;
  const std::uint32_t before = CountOf(present).fetch_add(1, std::memory_order_acq_rel);
  if (before == 0) {
    Revive(present);
  } else {
    PinEntry(SymbolEntry::Of(present), before);
  }
  return present;
}

// Everything that may fail is made ready without the lock; then we look again, since another thread may have
// interned the same text or grown the index meanwhile.
const char* SymbolTable::InternNew(std::uint32_t hash, const char* text, std::size_t length) {
  EntryOwner entry = MakeEntry(text, length);
  SymbolIndex::Owner other;  // a larger index, then the one that it replaced
  const char* result = nullptr;
  while (result == nullptr) {
    unsigned needed = 0;
    {
      const Section section(*this);
      section.ThrowUnlessEntered();
      if (const char* present = InternKnown(hash, text, length)) return present;
      SymbolIndex* index = index_.load(std::memory_order_relaxed);
      needed = BucketsForOneMore();
      if (needed > index->Buckets() && other != nullptr && other->Buckets() >= needed) {
        other->TakeOver(*index);
        SymbolIndex* const old = index;
        index = other.release();
        other.reset(old);
        index_.store(index);
      }
      if (needed <= index->Buckets()) {
        CountOf(entry.get()).store(1, std::memory_order_relaxed);
        result = entry.release();
        index->Insert(hash, result);
      }
    }
    if (result == nullptr) other = SymbolIndex::Create(needed);
  }
  if (other != nullptr && !guards_.Await()) static_cast<void>(other.release());
  assert(other == nullptr || FindFault() == nullptr);
  return result;
}

SymbolTable::EntryOwner SymbolTable::MakeEntry(const char* text, std::size_t length) {
  if (length > std::numeric_limits<std::uint32_t>::max() - BlockSize(0)) throw std::bad_alloc();
  void* const block = CommonAllocatorImpl::Allocate(static_cast<unsigned>(BlockSize(length)), nullptr);
  SymbolEntry* const entry = ::new (block) SymbolEntry;
  entry->length = static_cast<std::uint32_t>(length);
  char* const bytes = reinterpret_cast<char*>(entry + 1);
  std::memcpy(bytes, text, length);
  bytes[length] = '\0';
  return EntryOwner(bytes);
}

unsigned SymbolTable::BucketsForOneMore() const noexcept {
  const SymbolIndex& index = *index_.load(std::memory_order_relaxed);
  const unsigned present = index.Buckets();
  const unsigned items = index.Entries() + 1;
  return items <= present ? present : std::max(present, HashNextPrime(items));
}

void SymbolTable::PutAside(const char* text) noexcept {
  Swept swept;
  {
    const Section section(*this);
    if (!section.Entered()) return;
    // Nobody waits for this thread any more.
    const std::uint32_t before = CountOf(text).fetch_and(~SymbolEntry::kAwaited, std::memory_order_acq_rel);
    if ((before & ~SymbolEntry::kAwaited) != 0) return;
    pending_[pendingCount_++] = text;
    if (pendingCount_ == kPendingLimit) Sweep(swept);
  }
  Free(swept);
}

// Under the lock, of an entry that had no references before ours, which keeps it from being dropped again
// meanwhile. One that is not pending waits for its dropper.
void SymbolTable::Revive(const char* text) noexcept {
  const char** const end = pending_ + pendingCount_;
  const char** const place = std::find(pending_, end, text);
  if (place != end) {
    *place = pending_[--pendingCount_];
  } else {
    CountOf(text).fetch_or(SymbolEntry::kAwaited, std::memory_order_acq_rel);
  }
}

void SymbolTable::Sweep(Swept& swept) noexcept {
  SymbolIndex& index = *index_.load(std::memory_order_relaxed);
  for (unsigned i = 0; i < pendingCount_; ++i) {
    const char* const text = pending_[i];
    assert(CountOf(text).load() == 0);
    index.Remove(HashOf(text), text);
    swept.texts[swept.count++] = text;
  }
  pendingCount_ = 0;
}

void SymbolTable::Free(const Swept& swept) noexcept {
  if (swept.count == 0 || !guards_.Await()) return;
  for (unsigned i = 0; i < swept.count; ++i) FreeEntry(swept.texts[i]);
}

void SymbolTable::Close() noexcept {
  closed_.store(true);
  if (!guards_.Await(0) || !lock_.TryLock()) return;
  const SymbolIndex::Owner index(index_.exchange(nullptr));
  pendingCount_ = 0;
  lock_.Unlock();
  if (index != nullptr) index->ForEach([](const char* text, std::uint32_t) { FreeEntry(text); });
}

void SymbolTable::ForgetOtherThreads() noexcept {
  guards_.ForgetAll();
}

// Calls use(room) under the lock, with one zero for each bucket in `room`, which was made without it. False
// when the table is closed.
template <class Use>
bool SymbolTable::UseBuckets(Use use) {
  std::vector<unsigned> room(HashNextPrime(2000));
  for (;;) {
    unsigned buckets = 0;
    {
      const Section section(*this);
      if (!section.Entered()) return false;
      buckets = index_.load(std::memory_order_relaxed)->Buckets();
      if (buckets == room.size()) {
        use(room);
        return true;
      }
    }
    room.assign(buckets, 0);
  }
}

SymbolStatistics SymbolTable::CollectStatistics() {
  std::vector<unsigned> entriesOfBucket;
  unsigned items = 0;
  const bool open = UseBuckets([&](std::vector<unsigned>& room) {
    const SymbolIndex& index = *index_.load(std::memory_order_relaxed);
    items = index.Entries();
    index.ForEach([&room](const char* text, std::uint32_t) { ++room[SymbolHash(text) % room.size()]; });
    entriesOfBucket.swap(room);
  });
  if (!open) throw dp::DeadReference();
  return CountBuckets(items, entriesOfBucket);
}

const char* SymbolTable::FindFault() {
  const char* fault = nullptr;
  UseBuckets([&](std::vector<unsigned>& room) { fault = FindFaultLocked(room); });
  return fault;
}

const char* SymbolTable::FindFaultLocked(std::vector<unsigned>& ids) const {
  const SymbolIndex& index = *index_.load(std::memory_order_relaxed);
  const char* fault = nullptr;
  std::size_t entries = 0;
  index.ForEach([&](const char* text, std::uint32_t hash) {
    const std::uint32_t length = SymbolEntry::Of(text).length;
    if (length == 0 || std::strlen(text) != length) fault = "length and text disagree";
    if (hash != HashOf(text)) fault = "an entry stands under a wrong hash";
    if (index.Find(hash, text, length).text != text) fault = "an entry is not found or stands there twice";
    if (entries < ids.size()) ids[entries] = IdOf(SymbolEntry::Of(text));
    ++entries;
  });
  if (entries != index.Entries() || entries > ids.size()) return "the number of entries is wrong";
  ids.resize(entries);
  std::sort(ids.begin(), ids.end());
  if (std::adjacent_find(ids.begin(), ids.end()) != ids.end()) fault = "two entries have one id";
  if (pendingCount_ >= kPendingLimit) fault = "the pending list is full";
  for (unsigned i = 0; i < pendingCount_ && fault == nullptr; ++i) {
    const char* const text = pending_[i];
    if (CountOf(text).load() != 0) fault = "a pending entry is in use";
    if (std::find(pending_, pending_ + i, text) != pending_ + i) fault = "an entry is pending twice";
    if (index.Find(HashOf(text), text, SymbolEntry::Of(text).length).text != text)
      fault = "a pending entry is unknown";
  }
  return fault;
}

}  // namespace du::internal
