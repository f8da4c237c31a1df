// What is wrong with a query, for the person who wrote it.
#ifndef LMKUTIL_QUERY_EXPLANATION_H
#define LMKUTIL_QUERY_EXPLANATION_H

#include <string>
#include <vector>

#include "tools/lmkutil/resources.h"

#include "lmkutils/data/query_fault.h"

namespace lmkutil {

// Three lines without a line feed at the end: what is due, the query, or the part of a long one around the
// fault, and a caret under the character.
std::string ExplainQueryFault(const std::string& query, const du::QueryFault& fault,
                              const Resources& resources);

// The names of all attributes in a query that is well-formed, in its order, perhaps several times.
std::vector<std::string> AttributesIn(const std::string& query);

}  // namespace lmkutil

#endif
