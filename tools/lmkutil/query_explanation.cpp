#include "tools/lmkutil/query_explanation.h"

#include <string_view>
#include <vector>

#include "tools/lmkutil/display_width.h"
#include "tools/lmkutil/printable.h"

#include "lmkutils/text/encoding.h"

namespace lmkutil {
namespace {

// Characters shown before and behind the fault, which fit an ordinary terminal.
constexpr std::size_t kBefore = 50;
constexpr std::size_t kBehind = 25;

const char* TagOf(du::QueryFault::Step step) {
  using du::QueryFault;
  switch (step) {
    case QueryFault::kPattern:
      return "QUERY_PATTERN";
    case QueryFault::kClosingBracket:
      return "QUERY_CLOSING_BRACKET";
    case QueryFault::kEqual:
      return "QUERY_EQUAL";
    case QueryFault::kNotEqual:
      return "QUERY_NOT_EQUAL";
    case QueryFault::kClosingParenthesis:
      return "QUERY_CLOSING_PARENTHESIS";
    case QueryFault::kNot:
      return "QUERY_NOT";
    case QueryFault::kOperator:
      return "QUERY_OPERATOR";
    case QueryFault::kEnd:
      return "QUERY_END";
    case QueryFault::kOpeningBracket:
    case QueryFault::kTerm:
      break;
  }
  return "QUERY_TERM";
}

}  // namespace

std::string ExplainQueryFault(const std::string& query, const du::QueryFault& fault,
                              const Resources& resources) {
  const std::u32string before = PrintableCharacters(std::string_view(query).substr(0, fault.position), U' ');
  const std::u32string behind = PrintableCharacters(std::string_view(query).substr(fault.position), U' ');
  std::string start;
  if (before.size() <= kBefore) {
    start = du::ToUtf8(before);
  } else {
    start = "..." + du::ToUtf8(before.substr(before.size() - kBefore));
  }
  std::string rest = du::ToUtf8(std::u32string_view(behind).substr(0, kBehind));
  if (behind.size() > kBehind) rest += "...";
  const bool hasReason = fault.step == du::QueryFault::kPattern;
  const std::string reason =
      resources.Text(TagOf(fault.step), hasReason ? std::vector{fault.reason} : std::vector<std::string>());
  return resources.Text("QUERY_MALFORMED", {std::to_string(before.size() + 1), reason}) + "\n  " + start +
         rest + "\n  " + std::string(DisplayWidth(start), ' ') + "^";
}

// Behind a name there is "EQ" or "NE" and a pattern, or neither.
std::vector<std::string> AttributesIn(const std::string& query) {
  std::vector<std::string> names;
  for (std::size_t start = query.find('<'); start != query.npos;) {
    std::size_t end = query.find('>', start);
    names.push_back(query.substr(start + 1, end - start - 1));
    const std::size_t next = query.find_first_not_of(" \t\n\v\f\r", end + 1);
    if (next != query.npos && (query[next] == 'E' || query[next] == 'N')) end = query.find('>', next);
    start = query.find('<', end);
  }
  return names;
}

}  // namespace lmkutil
