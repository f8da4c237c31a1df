// Interned, reference-counted text: the library's shared string type.
#ifndef LMKUTILS_TEXT_SYMBOL_H
#define LMKUTILS_TEXT_SYMBOL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>

#include "lmkutils/export.h"
#include "lmkutils/text/hash.h"

namespace du {

namespace internal {

// What 64-bit targets keep with an entry beyond the described record: an id, since addresses do not fit into
// 32 bits there, and the text's ELF hash once somebody asked for it (0 until then).
template <std::size_t PointerSize>
struct SymbolEntryExtra {
  mutable std::atomic<std::uint32_t> elfHash{0};
  std::uint32_t id = 0;
};
template <>
struct SymbolEntryExtra<4> {};

// What stands immediately before the text of a symbol: last the count, then the length.
struct SymbolEntry : SymbolEntryExtra<sizeof(void*)> {
  std::atomic<std::uint32_t> count{0};  // of references, and kAwaited
  std::uint32_t length = 0;

  // A count that gets this far never comes back: the entry stays for ever instead of wrapping to 0 alive. It
  // is pinned in the middle of the permanent counts long before, by a thread that adds a reference of its
  // own.
  static constexpr std::uint32_t kPermanent = 0x40000000u;
  static constexpr std::uint32_t kPinFrom = kPermanent / 2;
  // The thread whose drop brought the references to 0 has not come to the table yet, and the entry is in use
  // again: see SymbolTable.
  static constexpr std::uint32_t kAwaited = 0x80000000u;
  static constexpr bool IsPermanent(std::uint32_t count) noexcept {
    return (count & ~kAwaited) >= kPermanent;
  }

  static SymbolEntry& Of(const char* text) noexcept {
    return *reinterpret_cast<SymbolEntry*>(const_cast<char*>(text) - sizeof(SymbolEntry));
  }
  const char* Text() const noexcept { return reinterpret_cast<const char*>(this + 1); }
};

// True once the table is gone at process exit: symbols that are left hold dangling pointers, which copying
// and dropping them must not follow.
extern LMK_API std::atomic<bool> symbolTableGone;

LMK_API const char* InternText(const char* text);
LMK_API const char* InternText(const std::string& text);
LMK_API void FinishDrop(const char* text, std::uint32_t before) noexcept;
LMK_API void PinEntry(SymbolEntry& entry, std::uint32_t before) noexcept;
LMK_API bool SymbolLess(const char* a, const char* b) noexcept;
LMK_API std::uint32_t SymbolHash(const char* text) noexcept;
// The text pointer of the entry with this text, null when there is none. A number to compare, not to read
// from: nothing keeps the entry.
LMK_API const char* FindText(const char* text) noexcept;
LMK_API const char* FindText(const std::string& text) noexcept;

template <class Entry>
unsigned IdOf(const Entry& entry) noexcept {
  if constexpr (sizeof(void*) == 4) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(entry.Text()));
  } else {
    return entry.id;
  }
}

inline void AddReference(const char* text) noexcept {
  if (text == nullptr || symbolTableGone.load(std::memory_order_relaxed)) return;
  SymbolEntry& entry = SymbolEntry::Of(text);
  const std::uint32_t before = entry.count.fetch_add(1, std::memory_order_acq_rel);
  if (before >= SymbolEntry::kPinFrom) PinEntry(entry, before);
}

// A drop is one step, after which we touch none but a permanent entry: if that was the last reference, the
// entry waits at the table for us. One comparison tells that case, 1, and permanent counts from all others.
inline void DropReference(const char* text) noexcept {
  if (text == nullptr || symbolTableGone.load(std::memory_order_relaxed)) return;
  SymbolEntry& entry = SymbolEntry::Of(text);
  const std::uint32_t before = entry.count.fetch_sub(1, std::memory_order_acq_rel);
  if (before - 2 >= SymbolEntry::kPermanent - 2) FinishDrop(text, before);
}

}  // namespace internal

// An immutable text of bytes without NUL. Each distinct text exists once in the process, in a table; a Symbol
// is one pointer to it, null for the empty text. Copying costs one atomic addition, comparing two symbols one
// comparison of pointers; making one from text costs a look-up. Texts whose last symbol went are freed in
// batches of 64, so one that comes and goes is usually found again.
//
// Symbols of any thread may share a text; one Symbol object is a value like any other and is not shared
// between threads without a lock of the caller. The table is made on first use and ends at process exit (see
// GetLongevity): making a symbol after that throws dp::DeadReference, dropping one does nothing, its text
// must not be read any more. A null or empty symbol never needs the table.
class LMK_API Symbol {
 public:
  // "Not found", and "to the end" as a count.
  static const unsigned npos = 0xFFFFFFFFu;
  static const Symbol EMPTY;

  constexpr Symbol() noexcept = default;

  // From text up to its NUL; null gives the empty symbol. A std::string with a NUL inside is cut there.
  // Throws std::bad_alloc when memory is exhausted, dp::DeadReference after the table's end.
  Symbol(const char* text) : text_(internal::InternText(text)) {}
  Symbol(const std::string& text) : text_(internal::InternText(text)) {}

  Symbol(const Symbol& other) noexcept : text_(other.text_) { internal::AddReference(text_); }
  constexpr Symbol(Symbol&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  constexpr ~Symbol() {
    if (text_ != nullptr) internal::DropReference(text_);
  }

  Symbol& operator=(const Symbol& other) noexcept {
    if (text_ != other.text_) Symbol(other).Swap(*this);
    return *this;
  }
  Symbol& operator=(Symbol&& other) noexcept {
    Symbol(std::move(other)).Swap(*this);
    return *this;
  }
  // Throw as the constructors do and leave the symbol as it was then. The text may be part of the symbol's
  // own.
  Symbol& operator=(const char* text) {
    Symbol(text).Swap(*this);
    return *this;
  }
  Symbol& operator=(const std::string& text) {
    Symbol(text).Swap(*this);
    return *this;
  }

  void clear() noexcept { internal::DropReference(std::exchange(text_, nullptr)); }
  void Swap(Symbol& other) noexcept { std::swap(text_, other.text_); }

  [[nodiscard]] bool empty() const noexcept { return text_ == nullptr; }
  // Bytes of the text, without the NUL.
  [[nodiscard]] unsigned length() const noexcept {
    return text_ == nullptr ? 0 : internal::SymbolEntry::Of(text_).length;
  }
  [[nodiscard]] unsigned size() const noexcept { return length(); }

  // The text with its NUL, valid while a symbol of it lives; null for the empty symbol.
  [[nodiscard]] const char* c_str() const noexcept { return text_; }
  [[nodiscard]] const char* begin() const noexcept { return text_; }
  [[nodiscard]] const char* end() const noexcept { return text_ == nullptr ? nullptr : text_ + length(); }
  // The same, but "" for the empty symbol.
  [[nodiscard]] const char* safe_c_str() const noexcept { return text_ == nullptr ? "" : text_; }

  // A number that equal symbols share and different living ones do not; 0 for the empty symbol. A number may
  // come back for another text when the last symbol of its text is gone.
  [[nodiscard]] unsigned GetId() const noexcept {
    return text_ == nullptr ? 0 : internal::IdOf(internal::SymbolEntry::Of(text_));
  }

  // The byte at i; NUL when i is not below the length.
  [[nodiscard]] char operator[](unsigned i) const noexcept { return i < length() ? text_[i] : '\0'; }

  // The first index, from pos on, of a byte or of a text; npos when there is none. An empty or null text is
  // found at pos when pos is not beyond the length.
  [[nodiscard]] unsigned find(char c, unsigned pos = 0) const noexcept;
  [[nodiscard]] unsigned find(const char* text, unsigned pos = 0) const noexcept;
  // The last index, not beyond pos, of a byte; npos when there is none.
  [[nodiscard]] unsigned rfind(char c, unsigned pos = npos) const noexcept;
  // At most n bytes from pos on; empty when pos is beyond the end.
  [[nodiscard]] std::string substr(unsigned pos = 0, unsigned n = npos) const;
  operator std::string() const;

  // Writes the bytes of the text, without regard to the stream's width.
  void Print(std::ostream& stream) const;
  // Extracts one word as operator>> of std::string does and becomes it, empty when there was none.
  void Read(std::istream& stream);

  // Reports the table's figures and the use of its buckets through the tracer "du" "Symbol", at its default
  // type. Throws std::bad_alloc when memory is exhausted, dp::DeadReference after the table's end.
  static void DumpStats();

 private:
  const char* text_ = nullptr;
};

static_assert(sizeof(Symbol) == sizeof(void*));

// Equal texts have equal pointers.
inline bool operator==(const Symbol& a, const Symbol& b) noexcept {
  return a.c_str() == b.c_str();
}

// Length and bytes are compared; nothing is interned, and the empty symbol equals "". The pointer must not be
// null (asserted; counts as empty without assertions).
LMK_API bool operator==(const Symbol& a, const char* b) noexcept;
LMK_API bool operator==(const Symbol& a, const std::string& b) noexcept;
inline bool operator==(const char* a, const Symbol& b) noexcept {
  return b == a;
}
inline bool operator==(const std::string& a, const Symbol& b) noexcept {
  return b == a;
}

inline void swap(Symbol& a, Symbol& b) noexcept {
  a.Swap(b);
}

LMK_API std::ostream& operator<<(std::ostream& stream, const Symbol& symbol);
LMK_API std::istream& operator>>(std::istream& stream, Symbol& symbol);

// When the symbol table goes at process exit: one before the common allocator, so that objects which hold
// symbols and are scheduled earlier still find it. See dp::ScheduleAtExitCall.
[[nodiscard]] LMK_API unsigned GetLongevity(Symbol*) noexcept;

// The ELF hash of the text, so that texts find symbols without being interned.
template <>
struct hash<Symbol> {
  using is_transparent = void;
  std::size_t operator()(const Symbol& symbol) const noexcept { return internal::SymbolHash(symbol.c_str()); }
  std::size_t operator()(const std::string& text) const noexcept { return ElfHash(text.data(), text.size()); }
  std::size_t operator()(const char* text) const noexcept { return ElfHash(text); }
};

namespace internal {

template <class Hash>
struct PlacementHash;

// A map of symbols places them by their pointers, without reading their entries. A text is looked up in the
// symbol table first: what is not there cannot be a key.
template <>
struct PlacementHash<hash<Symbol>> {
  static constexpr bool kComparesKeysAsFast = true;
  std::size_t operator()(const Symbol& symbol) const noexcept { return Number(symbol.c_str()); }
  std::size_t operator()(const char* text) const noexcept { return Number(FindText(text)); }
  std::size_t operator()(const std::string& text) const noexcept { return Number(FindText(text)); }

 private:
  // Entries are more than 16 bytes apart.
  static std::size_t Number(const char* text) noexcept { return reinterpret_cast<std::uintptr_t>(text) / 16; }
};

}  // namespace internal

// A pair of symbols; what is said of Symbol holds for both.
class LMK_API DualSymbol {
 public:
  static const DualSymbol EMPTY;

  constexpr DualSymbol() noexcept = default;
  DualSymbol(const char* first, const char* second) : s1_(first), s2_(second) {}
  DualSymbol(const std::string& first, const std::string& second) : s1_(first), s2_(second) {}
  DualSymbol(const Symbol& first, const Symbol& second) noexcept : s1_(first), s2_(second) {}
  DualSymbol(const Symbol& first, Symbol&& second) noexcept : s1_(first), s2_(std::move(second)) {}
  DualSymbol(Symbol&& first, const Symbol& second) noexcept : s1_(std::move(first)), s2_(second) {}
  DualSymbol(Symbol&& first, Symbol&& second) noexcept : s1_(std::move(first)), s2_(std::move(second)) {}

  [[nodiscard]] Symbol& S1() noexcept { return s1_; }
  [[nodiscard]] const Symbol& S1() const noexcept { return s1_; }
  [[nodiscard]] Symbol& S2() noexcept { return s2_; }
  [[nodiscard]] const Symbol& S2() const noexcept { return s2_; }

  [[nodiscard]] bool empty() const noexcept { return s1_.empty() && s2_.empty(); }

  friend bool operator==(const DualSymbol& a, const DualSymbol& b) noexcept {
    return a.s1_ == b.s1_ && a.s2_ == b.s2_;
  }

 private:
  Symbol s1_;
  Symbol s2_;
};

}  // namespace du

// Orders symbols by their bytes as unsigned numbers, the empty symbol first: the same in every run.
template <>
struct std::less<du::Symbol> {
  bool operator()(const du::Symbol& a, const du::Symbol& b) const noexcept {
    return du::internal::SymbolLess(a.c_str(), b.c_str());
  }
};

#endif
