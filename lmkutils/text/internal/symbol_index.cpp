#include "lmkutils/text/internal/symbol_index.h"

#include <cstring>
#include <limits>
#include <new>

#include "lmkutils/os/memory.h"

namespace du::internal {
namespace {

// 32-bit targets use the text's address.
constexpr bool kKeepsIds = sizeof(void*) > 4;

template <class Entry>
void SetId(Entry& entry, std::uint32_t id) noexcept {
  if constexpr (kKeepsIds) entry.id = id;
}

}  // namespace

SymbolIndex::SymbolIndex(unsigned buckets, std::size_t groups, void* block) noexcept
    : block_(block),
      buckets_(buckets),
      mask_(groups - 1),
      groups_(reinterpret_cast<Group*>(this + 1)),
      hashes_(reinterpret_cast<std::uint32_t*>(groups_ + groups)),
      freeIds_(hashes_ + groups * kSlots) {
  for (std::size_t i = 0; i < groups; ++i) ::new (static_cast<void*>(groups_ + i)) Group;
}

// In one block: the index, its groups, their hashes, the ids.
SymbolIndex::Owner SymbolIndex::Create(unsigned buckets) {
  const std::uint64_t groups = std::bit_ceil(std::uint64_t{buckets} * 4 / (3 * kSlots) + 1);
  const std::uint64_t hashesAndIds = groups * kSlots + (kKeepsIds ? buckets : 0);
  const std::uint64_t bytes = alignof(SymbolIndex) + sizeof(SymbolIndex) + groups * sizeof(Group) +
                              hashesAndIds * sizeof(std::uint32_t);
  if (bytes > std::numeric_limits<std::size_t>::max()) throw std::bad_alloc();
  auto size = static_cast<std::size_t>(bytes);
  void* const block = os::HeapAllocate(size);
  if (block == nullptr) throw std::bad_alloc();
  os::PreferLargePages(block, size);
  void* place = block;
  std::align(alignof(SymbolIndex), sizeof(SymbolIndex), place, size);
  static_assert(alignof(SymbolIndex) % alignof(Group) == 0);
  return Owner(::new (place) SymbolIndex(buckets, static_cast<std::size_t>(groups), block));
}

void SymbolIndex::Deleter::operator()(SymbolIndex* index) const noexcept {
  os::HeapFree(index->block_);
}

SymbolIndex::Found SymbolIndex::Find(std::uint32_t hash, const char* text,
                                     std::size_t length) const noexcept {
  const Group* const first = &groups_[hash & mask_];
  const Group* group = first;
  do {
    // Sequentially consistent, as the argument of LookupGuards needs it.
    const Tags tags = group->tags.load();
    for (Tags slots = SlotsWith(TagOf(hash), tags); slots != 0; slots &= slots - 1) {
      const char* const present = group->texts[FirstOf(slots)].load(std::memory_order_acquire);
      if (IsText(present, text, length)) return {present, false};
    }
    if (!HaveGoneOn(tags)) break;
    group = Next(group);
  } while (group != first);
  return {nullptr, true};
}

// A count that has become as large as its byte stays so: look-ups then go on in vain.
void SymbolIndex::ChangeGoneOn(Group& group, Tags tags, Tags change) noexcept {
  constexpr unsigned kShift = 8 * kSlots;
  if (tags >> kShift != 0xFF) group.tags.store(tags + (change << kShift), std::memory_order_release);
}

void SymbolIndex::Place(std::uint32_t hash, const char* text) noexcept {
  for (Group* group = &groups_[hash & mask_];; group = Next(group)) {
    const Tags tags = group->tags.load(std::memory_order_relaxed);
    if (const Tags empty = SlotsWith(0, tags)) {
      const unsigned slot = FirstOf(empty);
      HashOf(*group, slot) = hash;
      group->texts[slot].store(text, std::memory_order_release);
      group->tags.store(tags | TagOf(hash) << 8 * slot, std::memory_order_release);
      return;
    }
    ChangeGoneOn(*group, tags, 1);
  }
}

void SymbolIndex::Insert(std::uint32_t hash, const char* text) noexcept {
  if constexpr (kKeepsIds) {
    SetId(SymbolEntry::Of(text), freeIdCount_ != 0 ? freeIds_[--freeIdCount_] : ++lastNewId_);
  }
  Place(hash, text);
  ++entries_;
}

void SymbolIndex::Remove(std::uint32_t hash, const char* text) noexcept {
  for (Group* group = &groups_[hash & mask_];; group = Next(group)) {
    const Tags tags = group->tags.load(std::memory_order_relaxed);
    for (Tags slots = SlotsWith(TagOf(hash), tags); slots != 0; slots &= slots - 1) {
      const unsigned slot = FirstOf(slots);
      if (group->texts[slot].load(std::memory_order_relaxed) != text) continue;
      // Sequentially consistent, as the argument of LookupGuards needs it.
      group->tags.store(tags & ~(Tags{0xFF} << 8 * slot));
      if constexpr (kKeepsIds) freeIds_[freeIdCount_++] = IdOf(SymbolEntry::Of(text));
      --entries_;
      return;
    }
    ChangeGoneOn(*group, tags, ~Tags{0});
  }
}

void SymbolIndex::TakeOver(const SymbolIndex& smaller) noexcept {
  smaller.ForEach([this](const char* text, std::uint32_t hash) { Place(hash, text); });
  if (smaller.freeIdCount_ != 0) {
    std::memcpy(freeIds_, smaller.freeIds_, smaller.freeIdCount_ * sizeof(std::uint32_t));
  }
  entries_ = smaller.entries_;
  freeIdCount_ = smaller.freeIdCount_;
  lastNewId_ = smaller.lastNewId_;
}

}  // namespace du::internal
