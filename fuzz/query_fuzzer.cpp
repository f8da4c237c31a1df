// Any bytes as a query of the record database: read by du::FindQueryFault and by a plain second parser, which
// must agree, and then performed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "lmkutils/data/dbase.h"
#include "lmkutils/data/query_fault.h"

namespace {

using du::Dbase;
using du::QueryFault;

void Require(bool condition) {
  if (!condition) std::abort();
}

// The grammar word for word, with a function for each rule. The number of the step that fails is thrown.
class PlainParser {
 public:
  explicit PlainParser(const std::string& text) : text_(text) {}

  void Query() {
    Expression(0);
    if (Next() != kEnd) throw 727;
  }

 private:
  static constexpr int kEnd = std::char_traits<char>::eof();

  int Next() {
    while (std::string("\t\n\v\f\r ").find(static_cast<char>(text_.peek())) != std::string::npos) text_.get();
    return text_.peek();
  }
  void Need(const char* word, int step) {
    for (; *word != '\0'; ++word) {
      if (text_.get() != *word) throw step;
    }
  }
  void Expression(unsigned depth) {
    Term(depth);
    for (int next = Next(); next != kEnd && next != ')'; next = Next()) {
      Need(next == 'A' ? "AND" : next == 'O' ? "OR" : "XOR", 575);
      Term(depth);
    }
  }
  void Term(unsigned depth) {
    const int next = Next();
    if (next == '<') return Leaf();
    if (depth == 1000) throw 544;
    if (next == 'N') {
      Need("NOT", 535);
      return Term(depth + 1);
    }
    if (next != '(') throw 544;
    text_.get();
    Expression(depth + 1);
    if (Next() != ')') throw 525;
    text_.get();
  }
  void Leaf() {
    Bracket(481);
    const int next = Next();
    if (next != 'E' && next != 'N') return;
    const int step = next == 'E' ? 492 : 502;
    Need(next == 'E' ? "EQ" : "NE", step);
    Next();
    Bracket(step);
  }
  void Bracket(int step) {
    Need("<", step);
    for (int c = text_.get(); c != '>'; c = text_.get()) {
      if (c == kEnd) throw 462;
    }
  }

  std::istringstream text_;
};

int PlainVerdict(const std::string& query) {
  try {
    PlainParser(query).Query();
    return 0;
  } catch (int step) {
    return step;
  }
}

const Dbase& Records() {
  static const Dbase* const records = [] {
    auto* const dbase = new Dbase;
    const char* const names[] = {"a", "b", "name", ""};
    const char* const values[] = {"", "1", "text", "a.b", "aaaaaaaaaaaaaaaaaaaaaaaaaaaa", "\xC3\xA4", "\xFF"};
    for (unsigned id = 0; id < 56; ++id) dbase->AddAttribute(id / 2, names[id % 4], values[id % 7]);
    return dbase;
  }();
  return *records;
}

// What the query selects; nothing when it throws, by `error`.
std::optional<Dbase::IdList> Perform(const std::string& query, std::string& error) {
  try {
    return Records().PerformQuery(query);
  } catch (const std::runtime_error& failure) {
    error = failure.what();
    return std::nullopt;
  }
}

void RequireResult(const std::string& query) {
  std::string error;
  const auto ids = Perform(query, error);
  const auto others = Perform("NOT(" + query + ")", error);
  // A pattern that goes beyond the limits does so both times; the outer NOT may be one term too many. A NUL
  // in the query hides the rest of the error.
  if (!ids || !others) {
    return Require(error.find("limit") != std::string::npos || query.size() > 1000 ||
                   query.find('\0') != std::string::npos);
  }
  Require(std::is_sorted(ids->begin(), ids->end()) && std::is_sorted(others->begin(), others->end()));
  Dbase::IdList all;
  std::set_union(ids->begin(), ids->end(), others->begin(), others->end(), std::back_inserter(all));
  Require(all.size() == ids->size() + others->size() && all == Records().PerformQuery("NOT <none>"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string query(reinterpret_cast<const char*>(data), size);
  const std::optional<QueryFault> fault = du::FindQueryFault(query);
  Require(PlainVerdict(query) == (fault ? static_cast<int>(fault->step) : 0));
  if (!fault) {
    RequireResult(query);
    return 0;
  }
  Require(fault->position <= query.size());
  std::string error;
  Require(!Perform(query, error));
  return 0;
}
