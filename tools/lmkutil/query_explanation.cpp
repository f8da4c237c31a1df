#include "tools/lmkutil/query_explanation.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "tools/lmkutil/display_width.h"

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

// In one line, and harmless for a terminal.
std::u32string Printable(std::string_view text) {
  std::u32string printable = du::ToUtf32(text);
  std::replace_if(
      printable.begin(), printable.end(), [](char32_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); },
      U' ');
  return printable;
}

}  // namespace

std::string ExplainQueryFault(const std::string& query, const du::QueryFault& fault,
                              const Resources& resources) {
  const std::u32string before = Printable(std::string_view(query).substr(0, fault.position));
  const std::u32string behind = Printable(std::string_view(query).substr(fault.position));
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

}  // namespace lmkutil
