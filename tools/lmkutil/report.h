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

// A line for each finding of a file, as compilers write them.
std::string FindingLines(const StringFile& file, const Resources& resources);
// One line with the totals.
std::string SummaryLine(const std::vector<StringFile>& files, const Resources& resources);

// The findings of all files, and the totals.
std::string ReportLines(const std::vector<StringFile>& files, const Resources& resources);

// The same as one JSON object, or its members without the braces; docs/string-resources.md has its members.
std::string ReportJson(const std::vector<StringFile>& files, const Resources& resources);
std::string JsonMembers(const std::vector<StringFile>& files, const Resources& resources);

}  // namespace lmkutil

#endif
