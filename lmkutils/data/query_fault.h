// What is wrong with a query of du::Dbase.
#ifndef LMKUTILS_DATA_QUERY_FAULT_H
#define LMKUTILS_DATA_QUERY_FAULT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "lmkutils/export.h"

namespace du {

// For programs that let people write queries, and want to point at the mistake. du::Dbase itself does not
// need it.
struct QueryFault {
  // What is wrong at the position; the first ones by the numbers that traces of malformed queries have.
  enum Step : int {
    kPattern = 0,               // the pattern does not compile
    kClosingBracket = 462,      // no ">" to this "<"
    kOpeningBracket = 481,      // a leaf without "<" (does not occur)
    kEqual = 492,               // "EQ" or its "<" is due
    kNotEqual = 502,            // "NE" or its "<" is due
    kClosingParenthesis = 525,  // no ")" to this "("
    kNot = 535,                 // "NOT" is due
    kTerm = 544,                // "(", "NOT" or "<" is due, or terms stand too deep in each other
    kOperator = 575,            // "AND", "OR" or "XOR" is due
    kEnd = 727,                 // nothing more is due
  };

  Step step = kPattern;
  std::size_t position = 0;  // bytes of the query before it
  std::string reason;        // kPattern: in English
};

// The first fault of the query's form or, when that is good, of its patterns; nothing when du::Dbase takes
// it. Throws std::bad_alloc. Any thread.
[[nodiscard]] LMK_API std::optional<QueryFault> FindQueryFault(std::string_view query);

}  // namespace du

#endif
