#include "lmkutils/text/symbol.h"

#include <cassert>
#include <cstring>
#include <istream>
#include <new>
#include <ostream>
#include <string_view>

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/os/fork_hooks.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/singleton.h"
#include "lmkutils/text/internal/symbol_statistics.h"
#include "lmkutils/text/internal/symbol_table.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace internal {

constinit std::atomic<bool> symbolTableGone{false};

namespace {

constinit dp::internal::LazySpinLock tableLock;

// The table stays in static storage: a thread that is late at process exit finds a closed table, not freed
// memory.
alignas(SymbolTable) constinit std::byte tableStorage[sizeof(SymbolTable)] = {};

struct TableTraits {
  using Object = SymbolTable;
  static void Prepare() {}
  static SymbolTable* Create();
  static void Destroy(SymbolTable* table) noexcept;
  static unsigned Longevity() noexcept { return GetLongevity(static_cast<Symbol*>(nullptr)); }
};

using Table = dp::internal::Singleton<TableTraits>;

// A child process made while other threads work on the table gets the lock free, the table whole, and nobody
// to wait for.
void AddForkHooksOnce() noexcept {
  static const bool added = os::AddForkHooks(
      os::ForkRank::kMiddle, {[]() noexcept { tableLock.Lock(); }, []() noexcept { tableLock.Unlock(); },
                              []() noexcept {
                                if (SymbolTable* const table = Table::Existing()) table->ForgetOtherThreads();
                                tableLock.Unlock();
                              }});
  static_cast<void>(added);
}

SymbolTable* TableTraits::Create() {
  SymbolTable* const table = ::new (static_cast<void*>(tableStorage)) SymbolTable(tableLock);
  AddForkHooksOnce();
  return table;
}

void TableTraits::Destroy(SymbolTable* table) noexcept {
  if (Table::IsDestroyed()) {
    symbolTableGone.store(true);
    if (os::OtherThreadsRun()) {
      table->Abandon();
    } else {
      table->Close();
    }
  } else {
    table->~SymbolTable();  // its creation failed half-way; nobody has seen it
  }
}

// Apart from the usual way, which it would cost registers.
[[gnu::noinline]] const char* InternInNewTable(const std::string& text) {
  return Table::Instance().InternToNul(text.data(), text.size());
}

std::string_view View(const char* text) noexcept {
  if (text == nullptr) return {};
  return {text, SymbolEntry::Of(text).length};
}

template <class Entry>
std::uint32_t CachedHash(const Entry& entry) noexcept {
  if constexpr (sizeof(void*) == 4) {
    return ElfHash(entry.Text(), entry.length);
  } else {
    std::uint32_t hash = entry.elfHash.load(std::memory_order_relaxed);
    if (hash == 0) {
      hash = ElfHash(entry.Text(), entry.length);
      entry.elfHash.store(hash, std::memory_order_relaxed);
    }
    return hash;
  }
}

}  // namespace

const char* InternText(const char* text) {
  if (text == nullptr || *text == '\0') return nullptr;
  return Table::Instance().Intern(text, std::strlen(text));
}

const char* InternText(const std::string& text) {
  if (*text.c_str() == '\0') return nullptr;
  SymbolTable* const table = Table::Existing();
  return table != nullptr ? table->InternToNul(text.data(), text.size()) : InternInNewTable(text);
}

const char* FindText(const char* text) noexcept {
  SymbolTable* const table = Table::Existing();
  return table == nullptr || text == nullptr || *text == '\0' ? nullptr
                                                              : table->Find(text, std::strlen(text));
}

const char* FindText(const std::string& text) noexcept {
  SymbolTable* const table = Table::Existing();
  return table == nullptr || text.empty() ? nullptr : table->Find(text.data(), text.size());
}

// `before` is what the count was before the drop.
void FinishDrop(const char* text, std::uint32_t before) noexcept {
  if (before == 1) {
    if (SymbolTable* const table = Table::Existing()) table->PutAside(text);
  } else if (SymbolEntry::IsPermanent(before)) {
    PinEntry(SymbolEntry::Of(text), before);
  }
}

// To where no adding and dropping of all threads together leads out again. Small counts that callers meet are
// those of awaited entries.
void PinEntry(SymbolEntry& entry, std::uint32_t before) noexcept {
  if ((before & ~SymbolEntry::kAwaited) < SymbolEntry::kPinFrom) return;
  entry.count.store(SymbolEntry::kPermanent + SymbolEntry::kPermanent / 2, std::memory_order_relaxed);
}

bool SymbolLess(const char* a, const char* b) noexcept {
  return View(a) < View(b);
}

std::uint32_t SymbolHash(const char* text) noexcept {
  return text == nullptr ? 0 : CachedHash(SymbolEntry::Of(text));
}

}  // namespace internal

const unsigned Symbol::npos;
constexpr Symbol Symbol::EMPTY;
constexpr DualSymbol DualSymbol::EMPTY;

unsigned Symbol::find(char c, unsigned pos) const noexcept {
  if (pos >= length()) return npos;
  const void* const found = std::memchr(text_ + pos, c, length() - pos);
  return found == nullptr ? npos : static_cast<unsigned>(static_cast<const char*>(found) - text_);
}

unsigned Symbol::find(const char* text, unsigned pos) const noexcept {
  const std::string_view sought = text == nullptr ? std::string_view() : std::string_view(text);
  if (pos > length() || sought.size() > length() - pos) return npos;
  const std::size_t found = internal::View(text_).find(sought, pos);
  return found == std::string_view::npos ? npos : static_cast<unsigned>(found);
}

unsigned Symbol::rfind(char c, unsigned pos) const noexcept {
  const std::size_t found = internal::View(text_).rfind(c, pos);
  return found == std::string_view::npos ? npos : static_cast<unsigned>(found);
}

std::string Symbol::substr(unsigned pos, unsigned n) const {
  if (pos >= length()) return {};
  return std::string(internal::View(text_).substr(pos, n));
}

Symbol::operator std::string() const {
  return std::string(internal::View(text_));
}

void Symbol::Print(std::ostream& stream) const {
  stream.write(text_, static_cast<std::streamsize>(length()));
}

void Symbol::Read(std::istream& stream) {
  std::string word;
  stream >> word;
  *this = word;
}

void Symbol::DumpStats() {
  // The figures are collected first and traced without the table's lock: the trace's own parts use symbols.
  const auto lines = internal::FormatStatistics(internal::Table::Instance().CollectStatistics());
  static const dp::LMTracer tracer("du", "Symbol");
  for (const std::string& line : lines) tracer("%s", line.c_str());
}

unsigned GetLongevity(Symbol*) noexcept {
  return GetLongevity(static_cast<CommonAllocatorImpl*>(nullptr)) - 1;
}

bool operator==(const Symbol& a, const char* b) noexcept {
  assert(b != nullptr);
  return std::strcmp(a.safe_c_str(), b == nullptr ? "" : b) == 0;
}

bool operator==(const Symbol& a, const std::string& b) noexcept {
  return internal::View(a.c_str()) == b;
}

std::ostream& operator<<(std::ostream& stream, const Symbol& symbol) {
  symbol.Print(stream);
  return stream;
}

std::istream& operator>>(std::istream& stream, Symbol& symbol) {
  symbol.Read(stream);
  return stream;
}

}  // namespace du
