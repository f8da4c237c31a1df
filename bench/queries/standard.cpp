// What the standard library offers: a multimap, searched by its regular expressions.
#include <regex>

#include "bench/queries/multimap.h"
#include "bench/queries/rows.h"

namespace bench {
namespace {

class StandardRegex {
 public:
  explicit StandardRegex(const char* pattern) : regex_(pattern, std::regex::optimize) {}
  bool Matches(const std::string& text) const { return std::regex_match(text, regex_); }

 private:
  std::regex regex_;
};

using StandardMultimap = Multimap<StandardRegex>;

const bool registered = (AddQueryRows<StandardMultimap>("std::multimap, std::regex"),
                         AddChangeRows<StandardMultimap>("std::multimap"), true);

}  // namespace
}  // namespace bench
