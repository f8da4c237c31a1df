#include "bench/queries/rows.h"

#include "lmkutils/data/dbase.h"

namespace bench {
namespace {

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
      text += std::string(leaf.test == Test::kNotEqual ? " NE <" : " EQ <") + leaf.pattern + ">";
    }
    return text;
  }
  du::Dbase::IdList Perform(const Prepared& query) const { return dbase_.PerformQuery(query); }

 private:
  du::Dbase dbase_;
};

const bool registered = (AddQueryRows<Ours>(kOurs), AddChangeRows<Ours>(kOurs), true);

}  // namespace
}  // namespace bench
