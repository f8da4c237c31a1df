#include "lmkutils/testing/pattern.h"

#include <regex>

namespace lmktest {

bool MatchesWhole(const std::string& text, const std::string& pattern) {
  return std::regex_match(text, std::regex(pattern));
}

}  // namespace lmktest
