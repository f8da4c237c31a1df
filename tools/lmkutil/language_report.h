// How the findings of "strings check" in a product's languages are shown.
#ifndef LMKUTIL_LANGUAGE_REPORT_H
#define LMKUTIL_LANGUAGE_REPORT_H

#include <string>
#include <vector>

#include "tools/lmkutil/language_check.h"
#include "tools/lmkutil/resources.h"
#include "tools/lmkutil/string_file.h"

namespace lmkutil {

struct CheckedProduct {
  std::string path;
  std::vector<LanguageSummary> languages;
};

// The findings as lines, a table of the languages for each product, and the totals.
std::string ReportProducts(const std::vector<CheckedProduct>& products, const std::vector<StringFile>& files,
                           const Resources& resources);

// The same as one JSON object; docs/string-resources.md has its members.
std::string ReportProductsJson(const std::vector<CheckedProduct>& products,
                               const std::vector<StringFile>& files, const Resources& resources);

}  // namespace lmkutil

#endif
