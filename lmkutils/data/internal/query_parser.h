// The query language of du::Dbase: from text to a program.
#ifndef LMKUTILS_DATA_INTERNAL_QUERY_PARSER_H
#define LMKUTILS_DATA_INTERNAL_QUERY_PARSER_H

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace du::internal {

enum class QueryNodeKind : int { kNot = 0, kAnd = 1, kOr = 2, kXor = 3, kEq = 4, kNe = 5, kPresent = 6 };

// A leaf, with parts of the query's text, or an operator, without.
struct QueryNode {
  QueryNodeKind kind;
  std::string_view name;
  std::string_view pattern;  // kEq, kNe
};

// In the order of evaluation: an operator stands behind its operands, so nothing has to recurse.
using QueryProgram = std::vector<QueryNode>;

// The steps of the parser that can fail, by the numbers with which they are reported.
enum class QueryStep : int {
  kClosingBracket = 462,
  kOpeningBracket = 481,
  kEqual = 492,
  kNotEqual = 502,
  kClosingParenthesis = 525,
  kNot = 535,
  kTerm = 544,
  kOperator = 575,
  kEnd = 727,
};

struct QueryFailure {
  QueryStep step;
  std::size_t position;  // bytes of the query before what is wrong
};

// So many terms may stand in each other, by "(" or by NOT; one more is no term.
inline constexpr std::size_t kMostNestedTerms = 1000;

// Nothing, and the whole query in the program, when it is well-formed. The program refers to the text, which
// must outlive it. Throws std::bad_alloc.
std::optional<QueryFailure> ParseQuery(std::string_view text, QueryProgram& program);

}  // namespace du::internal

#endif
