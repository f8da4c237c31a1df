#include "tools/lmkutil/language_report.h"

#include "tools/lmkutil/json.h"
#include "tools/lmkutil/report.h"
#include "tools/lmkutil/table.h"

namespace lmkutil {
namespace {

// Not wider than 80 columns in any language, which the tool's tests see to.
std::string LanguageTable(const CheckedProduct& product, const Resources& resources) {
  Table table({{resources.Text("LANGUAGE_CODE"), Align::kLeft},
               {resources.Text("LANGUAGE_TRANSLATED"), Align::kRight},
               {"%", Align::kRight},
               {resources.Text("LANGUAGE_MISSING"), Align::kRight},
               {resources.Text("LANGUAGE_EXTRA"), Align::kRight},
               {resources.Text("LANGUAGE_SAME"), Align::kRight},
               {resources.Text("LANGUAGE_ARGUMENTS"), Align::kRight},
               {resources.Text("LANGUAGE_LONG"), Align::kRight},
               {resources.Text("LANGUAGE_OTHERS"), Align::kRight}});
  for (const LanguageSummary& language : product.languages) {
    table.AddRow({language.code, std::to_string(language.translated), std::to_string(language.Percent()),
                  std::to_string(language.missing), std::to_string(language.extra),
                  std::to_string(language.same), std::to_string(language.arguments),
                  std::to_string(language.tooLong), std::to_string(language.others)});
  }
  return table.Text();
}

std::string LanguageAsJson(const LanguageSummary& language) {
  std::string json =
      "{\"language\": " + JsonString(language.code) + ", \"path\": " + JsonString(language.path);
  const auto add = [&](const char* name, std::size_t number) {
    json += std::string(", \"") + name + "\": " + std::to_string(number);
  };
  add("wanted", language.wanted);
  add("translated", language.translated);
  add("percent", language.Percent());
  add("missing", language.missing);
  add("extra", language.extra);
  add("same", language.same);
  add("arguments", language.arguments);
  add("tooLong", language.tooLong);
  add("others", language.others);
  return json + "}";
}

}  // namespace

std::string ReportProducts(const std::vector<CheckedProduct>& products, const std::vector<StringFile>& files,
                           const Resources& resources) {
  std::string report;
  for (const StringFile& file : files) report += FindingLines(file, resources);
  for (const CheckedProduct& product : products) {
    report += report.empty() ? "" : "\n";
    report += product.path + "\n" + LanguageTable(product, resources);
  }
  return report + SummaryLine(files, resources);
}

std::string ReportProductsJson(const std::vector<CheckedProduct>& products,
                               const std::vector<StringFile>& files, const Resources& resources) {
  std::string languages;
  for (const CheckedProduct& product : products) {
    for (const LanguageSummary& language : product.languages)
      languages += (languages.empty() ? "\n  " : ",\n  ") + LanguageAsJson(language);
  }
  return "{\"languages\": [" + languages + "],\n" + JsonMembers(files, resources) + "}\n";
}

}  // namespace lmkutil
