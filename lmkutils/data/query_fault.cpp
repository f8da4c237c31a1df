#include "lmkutils/data/query_fault.h"

#include <utility>

#include "lmkutils/data/internal/query_parser.h"
#include "lmkutils/data/internal/value_matcher.h"
#include "lmkutils/text/regex.h"

namespace du {

std::optional<QueryFault> FindQueryFault(std::string_view query) {
  internal::QueryProgram program;
  if (const auto failure = internal::ParseQuery(query, program)) {
    return QueryFault{static_cast<QueryFault::Step>(failure->step), failure->position, {}};
  }
  for (const internal::QueryNode& node : program) {
    if (node.pattern.data() == nullptr || internal::LiteralOf(node.pattern)) continue;
    if (auto fault = Regex::FindFault(node.pattern)) {
      const auto start = static_cast<std::size_t>(node.pattern.data() - query.data());
      return QueryFault{QueryFault::kPattern, start + fault->position, std::move(fault->reason)};
    }
  }
  return std::nullopt;
}

}  // namespace du
