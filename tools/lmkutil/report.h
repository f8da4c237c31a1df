// How the findings of "strings check" are shown.
#ifndef LMKUTIL_REPORT_H
#define LMKUTIL_REPORT_H

#include <string>
#include <vector>

#include "tools/lmkutil/resources.h"
#include "tools/lmkutil/string_file.h"

namespace lmkutil {

struct Totals {
  std::size_t files = 0;
  std::size_t messages = 0;
  std::size_t errors = 0;
  std::size_t warnings = 0;
};

Totals Count(const std::vector<StringFile>& files);

// A line for each finding, as compilers write them, and a last one with the totals.
std::string ReportLines(const std::vector<StringFile>& files, const Resources& resources);

// The same as one JSON object; docs/string-resources.md has its members.
std::string ReportJson(const std::vector<StringFile>& files, const Resources& resources);

}  // namespace lmkutil

#endif
