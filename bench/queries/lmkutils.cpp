#include <algorithm>
#include <array>
#include <cstdint>

#include "bench/queries/rows.h"

#include "lmkutils/data/dbase.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/memory/mem_pool_block_statistics.h"
#include "lmkutils/text/symbol.h"

namespace bench {
namespace {

std::string Escaped(const std::string& literal) {
  std::string pattern;
  for (const char c : literal) pattern += c == '.' ? std::string("\\.") : std::string(1, c);
  return pattern;
}

class Ours {
 public:
  using Prepared = std::string;

  void Add(unsigned id, const Record& record) {
    for (std::size_t i = 0; i < record.size(); ++i)
      dbase_.AddAttribute(id, kAttributes[i], record[i].c_str());
  }
  void EndOfLoading() { dbase_.ForceResort(); }

  void Replace(const std::vector<unsigned>& ids, const char* name, const std::string& value) {
    for (const unsigned id : ids) dbase_.ReplaceAttribute(id, name, value.c_str());
  }

  static Prepared Prepare(const Query& query) {
    static const char* const kOperators[] = {"", " AND ", " OR ", " XOR "};
    std::string text;
    for (const auto& [operation, isNegated, leaf] : query.steps) {
      text += kOperators[static_cast<int>(operation)];
      text += std::string(isNegated ? "NOT " : "") + "<" + leaf.name + ">";
      if (leaf.test == Test::kPresent) continue;
      text += leaf.test == Test::kNotEqual ? " NE <" : " EQ <";
      text += (leaf.test == Test::kLiteral ? Escaped(leaf.pattern) : leaf.pattern) + ">";
    }
    return text;
  }
  du::Dbase::IdList Perform(const Prepared& query) const { return dbase_.PerformQuery(query); }

 private:
  du::Dbase dbase_;
};

std::uint64_t LargeBytes() {
  du::MemPoolBlockStatistics statistics;
  du::CommonAllocatorImpl::GetBlockStatistics(statistics, 0.25F);
  return statistics.largeBytes;
}

// What the database takes for an attribute beside the texts, which the caller holds here.
double HeldForAttribute() {
  constexpr std::size_t kCount = 100'000;
  std::vector<std::array<du::Symbol, kAttributes.size()>> texts;
  for (const Record& record : SomeRecords(kCount)) {
    std::copy(record.begin(), record.end(), texts.emplace_back().begin());
  }
  const std::uint64_t before = LargeBytes();
  du::Dbase dbase;
  unsigned attributes = 0;
  for (unsigned id = 0; id < kCount; ++id) {
    for (const du::Symbol& text : texts[id]) {
      dbase.AddAttribute(id, kAttributes[attributes++ % kAttributes.size()], text);
    }
  }
  for (int i = 0; i < 8; ++i) {
    for (std::size_t name = 0; name < kAttributes.size(); ++name) {
      const std::string value(texts[4711][name]);
      static_cast<void>(
          dbase.PerformQuery(std::string("<") + kAttributes[name] + "> EQ <" + Escaped(value) + ">"));
    }
  }
  return static_cast<double>(LargeBytes() - before) / attributes;
}

bool Register() {
  AddQueryRows<Ours>(kOurs);
  AddChangeRows<Ours>(kOurs);
  AddFigure("held for an attribute", kOurs, "bytes", HeldForAttribute);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
