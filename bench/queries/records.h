#ifndef LMKUTILS_BENCH_QUERIES_RECORDS_H
#define LMKUTILS_BENCH_QUERIES_RECORDS_H

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// Records as a catalogue of files has them, and the queries that are put to them, written once for all
// contenders.
namespace bench {

using Ids = std::vector<unsigned>;

// name: different in each record. directory: the same for about 50 records. extension: 40 of them. kind: 3.
// size: many, most in several records.
inline constexpr std::array<const char*, 5> kAttributes{"name", "directory", "extension", "kind", "size"};
using Record = std::array<std::string, kAttributes.size()>;

// The records 0, 1, ...; made on first use and kept to the end of the process.
const std::vector<Record>& SomeRecords(std::size_t count);

inline constexpr std::array<std::pair<std::size_t, const char*>, 2> kRecordCounts{
    {{100'000, "100 thousand"}, {1'000'000, "1 million"}}};

enum class Test { kPresent, kLiteral, kEqual, kNotEqual };  // kLiteral: the pattern means only itself

struct Leaf {
  const char* name;
  Test test = Test::kPresent;
  const char* pattern = "";
};

// From left to right, without precedence.
struct QueryStep {
  enum class Operation { kFirst, kAnd, kOr, kXor };
  Operation operation;
  bool isNegated;
  Leaf leaf;
};

struct Query {
  const char* row;
  std::vector<QueryStep> steps;
};

const std::vector<Query>& Queries();

}  // namespace bench

#endif
