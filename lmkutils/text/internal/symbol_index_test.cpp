#include "lmkutils/text/internal/symbol_index.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/text/internal/text_hash.h"
#include "lmkutils/text/symbol.h"

namespace {

using du::internal::SymbolEntry;
using du::internal::SymbolIndex;
using du::internal::TextHash;

// An entry outside any table, under a hash of the test's choice.
class Entry {
 public:
  Entry(std::string text, std::uint32_t hash)
      : hash_(hash), block_(new std::byte[sizeof(SymbolEntry) + text.size() + 1]) {
    SymbolEntry* const entry = ::new (static_cast<void*>(block_.get())) SymbolEntry;
    entry->length = static_cast<std::uint32_t>(text.size());
    std::memcpy(static_cast<void*>(entry + 1), text.c_str(), text.size() + 1);
  }
  explicit Entry(const std::string& text) : Entry(text, TextHash::Of(text.data(), text.size())) {}

  std::uint32_t Hash() const { return hash_; }
  std::uint32_t Length() const { return SymbolEntry::Of(Text()).length; }
  const char* Text() const { return reinterpret_cast<const char*>(block_.get() + sizeof(SymbolEntry)); }

 private:
  std::uint32_t hash_;
  std::unique_ptr<std::byte[]> block_;
};

void ExpectThere(const SymbolIndex& index, const Entry& entry) {
  const SymbolIndex::Found found = index.Find(entry.Hash(), entry.Text(), entry.Length());
  EXPECT_EQ(entry.Text(), found.text) << entry.Text();
  EXPECT_FALSE(found.isNew);
  const SymbolIndex::Found atOnce = index.FindFirst(entry.Hash(), entry.Text(), entry.Length());
  EXPECT_TRUE(atOnce.text == entry.Text() || atOnce.text == nullptr) << entry.Text();
  EXPECT_FALSE(atOnce.isNew) << entry.Text();
}

void ExpectMissing(const SymbolIndex& index, const Entry& entry) {
  const SymbolIndex::Found found = index.Find(entry.Hash(), entry.Text(), entry.Length());
  EXPECT_EQ(nullptr, found.text) << entry.Text();
  EXPECT_TRUE(found.isNew);
  EXPECT_EQ(nullptr, index.FindFirst(entry.Hash(), entry.Text(), entry.Length()).text) << entry.Text();
}

std::size_t Count(const SymbolIndex& index) {
  std::size_t count = 0;
  index.ForEach([&count](const char*, std::uint32_t) { ++count; });
  return count;
}

// All of one hash: they fill group after group, round the end, and more of them go on from the first one than
// its count can tell.
TEST(SymbolIndex, KeepsEntriesThatMeet) {
  constexpr unsigned kCount = 1000;
  const SymbolIndex::Owner index = SymbolIndex::Create(kCount);
  std::vector<Entry> entries;
  for (unsigned i = 0; i < kCount; ++i) entries.emplace_back("entry " + std::to_string(i), 0xABFFFFF0u);
  const Entry missing("entry -1", 0xABFFFFF0u);
  for (const Entry& entry : entries) {
    ExpectMissing(*index, entry);
    index->Insert(entry.Hash(), entry.Text());
  }
  EXPECT_EQ(kCount, Count(*index));
  ExpectMissing(*index, missing);
  std::shuffle(entries.begin(), entries.end(), std::mt19937(1));
  for (unsigned turn = 0; turn < 2; ++turn) {
    for (std::size_t i = 0; i < kCount; ++i) {
      index->Remove(entries[i].Hash(), entries[i].Text());
      ExpectMissing(*index, entries[i]);
      if (i % 50 == 0) {
        for (std::size_t k = i + 1; k < kCount; ++k) ExpectThere(*index, entries[k]);
      }
    }
    EXPECT_EQ(0u, Count(*index));
    ExpectMissing(*index, missing);
    for (const Entry& entry : entries) index->Insert(entry.Hash(), entry.Text());
  }
  for (const Entry& entry : entries) ExpectThere(*index, entry);
}

// Few groups and hashes of all kinds, tags 0 and 1 among them, in random order.
TEST(SymbolIndex, AgreesWithAModel) {
  constexpr unsigned kCount = 60;
  const SymbolIndex::Owner index = SymbolIndex::Create(kCount);
  std::mt19937 random(7);
  std::vector<Entry> entries;
  for (unsigned i = 0; i < kCount; ++i) {
    entries.emplace_back(std::string(1 + i % 40, 'x') + std::to_string(i),
                         random() % 3 << 24 | random() % 20);
  }
  std::vector<bool> isThere(kCount);
  for (unsigned step = 0; step < 20000; ++step) {
    const std::size_t i = random() % kCount;
    if (isThere[i]) {
      index->Remove(entries[i].Hash(), entries[i].Text());
    } else {
      index->Insert(entries[i].Hash(), entries[i].Text());
    }
    isThere[i] = !isThere[i];
    if (step % 16 != 0) continue;
    for (std::size_t k = 0; k < kCount; ++k) {
      if (isThere[k]) {
        ExpectThere(*index, entries[k]);
      } else {
        ExpectMissing(*index, entries[k]);
      }
    }
  }
}

// A look-up knows at once that a text is new until an entry has gone on from its group, and again when that
// one is gone.
TEST(SymbolIndex, KnowsAtOnceThatATextIsNewWhereNoneHasGoneOn) {
  constexpr unsigned kSlots = sizeof(void*) - 1;
  const SymbolIndex::Owner index = SymbolIndex::Create(100);
  const Entry missing("missing", 0x03000000u);
  const auto isNew = [&] { return index->FindFirst(missing.Hash(), missing.Text(), missing.Length()).isNew; };
  std::vector<Entry> entries;
  for (unsigned i = 0; i <= kSlots; ++i) {
    EXPECT_TRUE(isNew()) << i;
    entries.emplace_back("entry " + std::to_string(i), 0x02000000u);
    index->Insert(entries.back().Hash(), entries.back().Text());
  }
  EXPECT_FALSE(isNew());
  index->Remove(entries.back().Hash(), entries.back().Text());
  EXPECT_TRUE(isNew());
}

// More entries than its count can tell have gone on from each group, and are gone.
TEST(SymbolIndex, EndsLookUpsThatGoOnInVain) {
  constexpr unsigned kCount = 1000;
  const SymbolIndex::Owner index = SymbolIndex::Create(kCount);
  for (unsigned hash = 0; hash < 512; hash += 64) {
    std::vector<Entry> entries;
    for (unsigned i = 0; i < kCount; ++i) entries.emplace_back("entry " + std::to_string(i), hash);
    for (const Entry& entry : entries) index->Insert(entry.Hash(), entry.Text());
    for (const Entry& entry : entries) index->Remove(entry.Hash(), entry.Text());
  }
  for (unsigned hash = 0; hash < 512; ++hash) {
    const Entry missing("missing", hash);
    EXPECT_FALSE(index->FindFirst(hash, missing.Text(), missing.Length()).isNew) << hash;
    ExpectMissing(*index, missing);
  }
}

// A full small index, ids included, in a larger one.
TEST(SymbolIndex, TakesOverAll) {
  constexpr unsigned kCount = 500;
  const SymbolIndex::Owner smaller = SymbolIndex::Create(kCount);
  std::vector<Entry> entries;
  for (unsigned i = 0; i < kCount; ++i) {
    entries.emplace_back("entry " + std::to_string(i));
    smaller->Insert(entries.back().Hash(), entries.back().Text());
  }
  const Entry gone = std::move(entries.back());
  entries.pop_back();
  const unsigned freeId = du::internal::IdOf(SymbolEntry::Of(gone.Text()));
  smaller->Remove(gone.Hash(), gone.Text());
  const SymbolIndex::Owner larger = SymbolIndex::Create(kCount * 3);
  larger->TakeOver(*smaller);
  EXPECT_EQ(kCount - 1, Count(*larger));
  for (const Entry& entry : entries) ExpectThere(*larger, entry);
  ExpectMissing(*larger, gone);
  larger->Insert(gone.Hash(), gone.Text());
  EXPECT_EQ(freeId, du::internal::IdOf(SymbolEntry::Of(gone.Text())));
}

}  // namespace
