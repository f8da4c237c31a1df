// Regular expressions in expectations. GoogleTest's own understand no sets and no alternatives on Windows.
#ifndef LMKUTILS_TESTING_PATTERN_H
#define LMKUTILS_TESTING_PATTERN_H

#include <regex>
#include <string>

#include <gmock/gmock.h>

namespace lmktest {

// The whole text is of the form `pattern` (ECMAScript grammar).
MATCHER_P(IsOfForm, pattern, std::string("is of the form ") + pattern) {
  return std::regex_match(std::string(arg), std::regex(pattern));
}

}  // namespace lmktest

#endif
