// Regular expressions in expectations. GoogleTest's own understand no sets and no alternatives on Windows.
#ifndef LMKUTILS_TESTING_PATTERN_H
#define LMKUTILS_TESTING_PATTERN_H

#include <string>

#include <gmock/gmock.h>

namespace lmktest {

// Whether the whole text is of the form `pattern` (ECMAScript grammar).
bool MatchesWhole(const std::string& text, const std::string& pattern);

MATCHER_P(IsOfForm, pattern, std::string("is of the form ") + pattern) {
  return MatchesWhole(std::string(arg), std::string(pattern));
}

}  // namespace lmktest

#endif
