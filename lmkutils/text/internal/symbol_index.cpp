#include "lmkutils/text/internal/symbol_index.h"

#include <bit>
#include <cstring>
#include <limits>
#include <new>

#include "lmkutils/os/memory.h"
#include "lmkutils/text/internal/same_bytes.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {
namespace {

// 32-bit targets use the text's address.
constexpr bool kKeepsIds = sizeof(void*) > 4;

template <class Entry>
void SetId(Entry& entry, std::uint32_t id) noexcept {
  if constexpr (kKeepsIds) entry.id = id;
}

}  // namespace

SymbolIndex::SymbolIndex(unsigned buckets, std::size_t slots, void* storage) noexcept
    : buckets_(buckets),
      mask_(slots - 1),
      slots_(static_cast<Slot*>(storage)),
      freeIds_(reinterpret_cast<std::uint32_t*>(slots_ + slots)) {
  for (std::size_t i = 0; i < slots; ++i) ::new (static_cast<void*>(slots_ + i)) Slot;
}

SymbolIndex::Owner SymbolIndex::Create(unsigned buckets) {
  const std::uint64_t slots = std::bit_ceil(std::uint64_t{buckets});
  const std::uint64_t ids = kKeepsIds ? std::uint64_t{buckets} * sizeof(std::uint32_t) : 0;
  const std::uint64_t bytes = sizeof(SymbolIndex) + slots * sizeof(Slot) + ids;
  static_assert(sizeof(SymbolIndex) % alignof(Slot) == 0);
  if (bytes > std::numeric_limits<std::size_t>::max()) throw std::bad_alloc();
  void* const block = os::HeapAllocate(static_cast<std::size_t>(bytes));
  if (block == nullptr) throw std::bad_alloc();
  os::PreferLargePages(block, static_cast<std::size_t>(bytes));
  void* const storage = static_cast<char*>(block) + sizeof(SymbolIndex);
  return Owner(::new (block) SymbolIndex(buckets, static_cast<std::size_t>(slots), storage));
}

void SymbolIndex::Deleter::operator()(SymbolIndex* index) const noexcept {
  os::HeapFree(index);
}

const char* SymbolIndex::Find(std::uint32_t hash, const char* text, std::size_t length) const noexcept {
  for (std::size_t i = hash & mask_;; i = (i + 1) & mask_) {
    // Sequentially consistent, as the argument of LookupGuards needs it.
    const char* const present = slots_[i].text.load();
    if (present == nullptr) return nullptr;
    if (slots_[i].hash.load(std::memory_order_relaxed) != hash) continue;
    if (SymbolEntry::Of(present).length == length && SameBytes(present, text, length)) return present;
  }
}

void SymbolIndex::Place(std::uint32_t hash, const char* text) noexcept {
  std::size_t i = hash & mask_;
  while (slots_[i].text.load(std::memory_order_relaxed) != nullptr) i = (i + 1) & mask_;
  slots_[i].hash.store(hash, std::memory_order_relaxed);
  slots_[i].text.store(text, std::memory_order_release);
}

void SymbolIndex::Insert(std::uint32_t hash, const char* text) noexcept {
  if constexpr (kKeepsIds) {
    SetId(SymbolEntry::Of(text), freeIdCount_ != 0 ? freeIds_[--freeIdCount_] : ++lastNewId_);
  }
  Place(hash, text);
}

void SymbolIndex::Remove(std::uint32_t hash, const char* text) noexcept {
  std::size_t hole = hash & mask_;
  while (slots_[hole].text.load(std::memory_order_relaxed) != text) hole = (hole + 1) & mask_;
  // Entries behind the hole move into it unless their way from their first slot does not lead over it.
  for (std::size_t i = (hole + 1) & mask_;; i = (i + 1) & mask_) {
    const char* const next = slots_[i].text.load(std::memory_order_relaxed);
    if (next == nullptr) break;
    const std::uint32_t nextHash = slots_[i].hash.load(std::memory_order_relaxed);
    if (((i - nextHash) & mask_) < ((i - hole) & mask_)) continue;
    slots_[hole].hash.store(nextHash, std::memory_order_relaxed);
    slots_[hole].text.store(next);
    hole = i;
  }
  slots_[hole].text.store(nullptr);
  if constexpr (kKeepsIds) freeIds_[freeIdCount_++] = IdOf(SymbolEntry::Of(text));
}

void SymbolIndex::TakeOver(const SymbolIndex& smaller) noexcept {
  smaller.ForEach([this](const char* text, std::uint32_t hash) { Place(hash, text); });
  if (smaller.freeIdCount_ != 0) {
    std::memcpy(freeIds_, smaller.freeIds_, smaller.freeIdCount_ * sizeof(std::uint32_t));
  }
  freeIdCount_ = smaller.freeIdCount_;
  lastNewId_ = smaller.lastNewId_;
}

}  // namespace du::internal
