// Finds the entries of the symbol table by their text.
#ifndef LMKUTILS_TEXT_INTERNAL_SYMBOL_INDEX_H
#define LMKUTILS_TEXT_INTERNAL_SYMBOL_INDEX_H

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "lmkutils/text/internal/same_bytes.h"
#include "lmkutils/text/symbol.h"

namespace du::internal {

// A flat hash index of groups. A group is one cache line on 64-bit targets: text pointers, and a word with a
// byte of each one's hash, its tag, by which a look-up picks the pointer to follow without a loop that the
// processor would have to predict. So it costs one cache miss here and one in the entry that it finds. An
// entry is put into the first group with room from the one on that its hash names, and stays there. The
// word's last byte counts the entries that went on to a later group; a look-up follows them. The number of
// groups is a power of two that leaves at least a quarter of the slots free: with less room, more and more
// entries would stand in later groups where many come and go.
//
// Find may run without a lock beside the changing operations, inside a LookupGuards::Scope: it finds every
// entry that is not just being added or taken out, and never a wrong one, since the text decides. A tag that
// is seen leads to an entry that the scope keeps alive. All other operations are called under the table's
// lock.
class SymbolIndex {
 public:
  struct Deleter {
    void operator()(SymbolIndex* index) const noexcept;
  };
  using Owner = std::unique_ptr<SymbolIndex, Deleter>;

  // An empty index for up to `buckets` entries. Throws std::bad_alloc.
  static Owner Create(unsigned buckets);

  SymbolIndex(const SymbolIndex&) = delete;
  SymbolIndex& operator=(const SymbolIndex&) = delete;

  [[nodiscard]] unsigned Buckets() const noexcept { return buckets_; }
  [[nodiscard]] unsigned Entries() const noexcept { return entries_; }  // under the table's lock

  // `text` is the text pointer of the entry with these bytes; null when there is none (`isNew`), or when that
  // is not settled: FindFirst looks at one entry at most, which nearly always suffices, in few steps, and up
  // to kShortText bytes without a call.
  struct Found {
    const char* text;
    bool isNew;
  };
  [[nodiscard]] Found Find(std::uint32_t hash, const char* text, std::size_t length) const noexcept;
  [[nodiscard]] Found FindFirst(std::uint32_t hash, const char* text, std::size_t length) const noexcept;

  // Adds an entry that is not there; there is room for it. The entry gets an id.
  void Insert(std::uint32_t hash, const char* text) noexcept;

  // Takes out an entry that is there. Its id becomes free.
  void Remove(std::uint32_t hash, const char* text) noexcept;

  // Fills this new index with the entries of a smaller one, ids included.
  void TakeOver(const SymbolIndex& smaller) noexcept;

  // Calls visit(text, hash) for each entry.
  template <class Visitor>
  void ForEach(Visitor visit) const {
    for (std::size_t i = 0; i <= mask_; ++i) {
      const Tags tags = groups_[i].tags.load(std::memory_order_relaxed);
      for (unsigned slot = 0; slot < kSlots; ++slot) {
        if ((tags >> 8 * slot & 0xFF) == 0) continue;
        visit(groups_[i].texts[slot].load(std::memory_order_relaxed), hashes_[i * kSlots + slot]);
      }
    }
  }

 private:
  // One byte a slot, 0 for an empty one, and in the highest the count of those that went on. Every store is a
  // release, so that whoever sees a tag sees the pointer that was stored before it, and no older one.
  using Tags = std::uintptr_t;
  static constexpr unsigned kSlots = sizeof(Tags) - 1;
  struct alignas(sizeof(Tags) * sizeof(Tags)) Group {
    std::atomic<Tags> tags{0};
    std::atomic<const char*> texts[kSlots] = {};
  };

  SymbolIndex(unsigned buckets, std::size_t groups, void* block) noexcept;

  static Tags TagOf(std::uint32_t hash) noexcept;
  static Tags SlotsWith(Tags tag, Tags tags) noexcept;
  static unsigned FirstOf(Tags slots) noexcept;
  static bool IsText(const char* present, const char* text, std::size_t length) noexcept;
  static bool HaveGoneOn(Tags tags) noexcept;
  static void ChangeGoneOn(Group& group, Tags tags, Tags change) noexcept;

  Group* Next(const Group* group) const noexcept {
    return groups_ + (static_cast<std::size_t>(group - groups_ + 1) & mask_);
  }
  std::uint32_t& HashOf(const Group& group, unsigned slot) const noexcept {
    return hashes_[static_cast<std::size_t>(&group - groups_) * kSlots + slot];
  }
  void Place(std::uint32_t hash, const char* text) noexcept;

  void* const block_;  // to be freed: this object stands somewhere in it
  const unsigned buckets_;
  const std::size_t mask_;
  Group* const groups_;
  std::uint32_t* const hashes_;  // of all slots, for a larger index: look-ups do not read them
  // Ids are recycled, last freed first. As many as buckets have room: there were never more entries than
  // that.
  std::uint32_t* const freeIds_;
  // What changes stands apart from what look-ups read.
  alignas(64) unsigned entries_ = 0;
  std::uint32_t freeIdCount_ = 0;
  std::uint32_t lastNewId_ = 0;
};

// Never that of an empty slot. Bits of the hash that name no group in an index of up to 16 million.
inline SymbolIndex::Tags SymbolIndex::TagOf(std::uint32_t hash) noexcept {
  const Tags tag = hash >> 24;
  return tag + (tag == 0);
}

// The highest bit of each slot's byte that is `tag`. Exact: a borrow from byte to byte, as in the shorter
// form of this well-known step, would lead to empty slots, whose pointers may be dangling.
inline SymbolIndex::Tags SymbolIndex::SlotsWith(Tags tag, Tags tags) noexcept {
  constexpr Tags kEach = ~Tags{0} / 0xFF;
  constexpr Tags kLow = kEach * 0x7F;
  constexpr Tags kHighOfSlots = (kEach * 0x80) >> 8;
  const Tags differing = tags ^ (tag * kEach);
  return ~(((differing & kLow) + kLow) | differing) & kHighOfSlots;
}

inline unsigned SymbolIndex::FirstOf(Tags slots) noexcept {
  return static_cast<unsigned>(std::countr_zero(slots)) / 8;
}

inline bool SymbolIndex::IsText(const char* present, const char* text, std::size_t length) noexcept {
  return SymbolEntry::Of(present).length == length && SameBytes(present, text, length);
}

inline bool SymbolIndex::HaveGoneOn(Tags tags) noexcept {
  return tags >> 8 * kSlots != 0;
}

inline SymbolIndex::Found SymbolIndex::FindFirst(std::uint32_t hash, const char* text,
                                                 std::size_t length) const noexcept {
  const Group& group = groups_[hash & mask_];
  const Tags tags = group.tags.load();  // sequentially consistent, as in Find
  const Tags slots = SlotsWith(TagOf(hash), tags);
  if (slots == 0) {
    __builtin_prefetch(&HashOf(group, 0), 1);  // it will be inserted
    return {nullptr, !HaveGoneOn(tags)};
  }
  const char* const present = group.texts[FirstOf(slots)].load(std::memory_order_acquire);
  return {IsText(present, text, length) ? present : nullptr, false};
}

}  // namespace du::internal

#endif
