// What "strings check --json" found, for tests.
#ifndef LMKUTIL_FINDINGS_H
#define LMKUTIL_FINDINGS_H

#include <string>
#include <vector>

namespace lmktest {

using Texts = std::vector<std::string>;

// "LINE:COLUMN severity ID" of each finding.
Texts Findings(const std::string& json);

}  // namespace lmktest

#endif
