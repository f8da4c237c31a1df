// Finds the entries of the symbol table by their text.
#ifndef LMKUTILS_TEXT_INTERNAL_SYMBOL_INDEX_H
#define LMKUTILS_TEXT_INTERNAL_SYMBOL_INDEX_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace du::internal {

// A flat hash index with linear probing: one text pointer with its hash a slot, so that a look-up costs one
// cache miss here and one in the entry that it finds. The number of slots is the next power of two above the
// table's bucket count, which bounds the load at three quarters.
//
// Find may run without a lock beside the changing operations, inside a LookupGuards::Scope: it may then miss
// an entry that is being moved (the caller looks again under the table's lock) but never returns a wrong one,
// since the text decides and a slot that is read half changed leads to some entry that the scope keeps alive.
// All other operations are called under the table's lock.
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

  // The text pointer of the entry with these bytes, null when there is none.
  [[nodiscard]] const char* Find(std::uint32_t hash, const char* text, std::size_t length) const noexcept;

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
      if (const char* text = slots_[i].text.load(std::memory_order_relaxed)) {
        visit(text, slots_[i].hash.load(std::memory_order_relaxed));
      }
    }
  }

 private:
  struct Slot {
    std::atomic<const char*> text{nullptr};
    std::atomic<std::uint32_t> hash{0};
  };

  SymbolIndex(unsigned buckets, std::size_t slots, void* storage) noexcept;

  void Place(std::uint32_t hash, const char* text) noexcept;

  const unsigned buckets_;
  const std::size_t mask_;
  Slot* const slots_;
  // Ids are recycled, last freed first. As many as buckets have room: there were never more entries than
  // that.
  std::uint32_t* const freeIds_;
  std::uint32_t freeIdCount_ = 0;
  std::uint32_t lastNewId_ = 0;
};

}  // namespace du::internal

#endif
