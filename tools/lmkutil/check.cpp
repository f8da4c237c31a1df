#include "tools/lmkutil/check.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "tools/lmkutil/comparison.h"
#include "tools/lmkutil/language_report.h"
#include "tools/lmkutil/language_tree.h"
#include "tools/lmkutil/report.h"
#include "tools/lmkutil/string_table.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/files/file_system.h"
#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

// The library has the last word: should it refuse a file in which nothing was found, say so.
void AskLibrary(StringFile& file, const std::string& bytes) {
  static const dp::LMTracer tracer("lmkutil", "strings");
  try {
    LoadTable(file.path, bytes);
  } catch (const du::LocalizerError& error) {
    tracer(dp::TraceType::Warning) << file.path << ": " << error.what();
    file.isRefused = true;
    if (Count({file}).errors == 0)
      file.findings.push_back({1, 1, Severity::kError, "REFUSED", {error.what()}});
  }
}

std::optional<StringFile> ReadAndAsk(const std::string& path) {
  const std::optional<std::string> bytes = ReadFile(path);
  if (!bytes) return std::nullopt;
  StringFile file = ReadStringFile(path, *bytes);
  AskLibrary(file, *bytes);
  return file;
}

// A file that is reported though it is not read.
StringFile Absent(const std::string& path, Severity severity, const char* tag,
                  std::vector<std::string> args) {
  StringFile file;
  file.path = path;
  file.isThere = false;
  file.findings.push_back({1, 1, severity, tag, std::move(args)});
  return file;
}

StringFile ReadOrReport(const std::string& path) {
  const std::optional<StringFile> file = ReadAndAsk(path);
  return file ? *file : Absent(path, Severity::kError, "FILE_UNREADABLE", {path});
}

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::binary_search(names.begin(), names.end(), name);
}

// Checks one product; its files are added to those of the others.
class ProductCheck {
 public:
  ProductCheck(unsigned longest, std::vector<StringFile>& files) : longest_(longest), files_(files) {}

  CheckedProduct Run(const Product& product) {
    CheckedProduct checked{product.path, {}};
    product_ = &product;
    reference_ = &product.languages.front();
    for (const std::string& name : reference_->files)
      english_.push_back(ReadOrReport(reference_->path + "/" + name));
    for (const LanguageFolder& folder : product.languages) {
      if (!folder.isKnown) {
        files_.push_back(Absent(folder.path, Severity::kError, "UNKNOWN_LANGUAGE", {folder.code}));
        continue;
      }
      checked.languages.push_back(CheckFolder(folder));
      checked.languages.back().code = folder.code;
      checked.languages.back().path = folder.path;
    }
    return checked;
  }

 private:
  LanguageSummary CheckFolder(const LanguageFolder& folder) {
    std::vector<StringFile> files = &folder == reference_ ? english_ : ReadTranslations(folder);
    // English is not compared with itself: all its texts would be the same.
    LanguageSummary summary =
        &folder == reference_ ? EnglishSummary(files) : CheckLanguage(english_, files, longest_);
    for (StringFile& file : files) {
      if (file.path.starts_with(folder.path + "/")) files_.push_back(std::move(file));
    }
    for (const std::string& name : folder.files) {
      if (!Has(reference_->files, name))
        files_.push_back(
            Absent(folder.path + "/" + name, Severity::kWarning, "FILE_SURPLUS", {reference_->path}));
    }
    return summary;
  }

  // Where a file is missing in a regional language, the library takes that of its base language.
  std::vector<StringFile> ReadTranslations(const LanguageFolder& folder) const {
    std::vector<StringFile> files;
    const auto base = std::find_if(
        product_->languages.begin(), product_->languages.end(),
        [code = BaseLanguage(folder.code)](const LanguageFolder& other) { return other.code == code; });
    for (std::size_t i = 0; i < english_.size(); ++i) {
      const std::string& name = reference_->files[i];
      const std::string path = folder.path + "/" + name;
      if (Has(folder.files, name)) {
        files.push_back(ReadOrReport(path));
      } else if (base != product_->languages.end() && Has(base->files, name)) {
        files.push_back(ReadOrReport(base->path + "/" + name));
      } else {
        files.push_back(Absent(path, Severity::kError, "FILE_MISSING", {english_[i].path}));
      }
    }
    return files;
  }

  static LanguageSummary EnglishSummary(const std::vector<StringFile>& files) {
    LanguageSummary summary;
    for (const StringFile& file : files) {
      summary.wanted += file.messages.size();
      (file.isRefused ? summary.missing : summary.translated) += file.messages.size();
      summary.others += file.findings.size();
    }
    return summary;
  }

  const unsigned longest_;
  std::vector<StringFile>& files_;
  const Product* product_ = nullptr;
  const LanguageFolder* reference_ = nullptr;
  std::vector<StringFile> english_;
};

bool IsClean(const std::vector<StringFile>& files, bool strict) {
  const Totals totals = Count(files);
  return totals.errors == 0 && (!strict || totals.warnings == 0);
}

ExitStatus CheckFiles(const Options& options, const Resources& resources) {
  std::vector<StringFile> files;
  for (const std::string& path : options.files) {
    if (std::optional<StringFile> file = ReadAndAsk(path)) {
      files.push_back(std::move(*file));
    } else {
      PrintError(resources.Text("FILE_UNREADABLE", {path}));
    }
  }
  const bool allRead = files.size() == options.files.size();
  CompareLanguages(files);
  const ExitStatus printed =
      Print(options.json ? ReportJson(files, resources) : ReportLines(files, resources), resources);
  return allRead && IsClean(files, options.strict) ? printed : kFoundWrong;
}

ExitStatus CheckDirectory(const Options& options, const Resources& resources) {
  const std::vector<Product> products = FindProducts(options.files.front());
  if (products.empty()) {
    PrintError(resources.Text("NO_LANGUAGES", {options.files.front()}));
    return kFoundWrong;
  }
  std::vector<StringFile> files;
  std::vector<CheckedProduct> checked;
  checked.reserve(products.size());
  for (const Product& product : products)
    checked.push_back(ProductCheck(options.longest, files).Run(product));
  const ExitStatus printed = Print(options.json ? ReportProductsJson(checked, files, resources)
                                                : ReportProducts(checked, files, resources),
                                   resources);
  return IsClean(files, options.strict) ? printed : kFoundWrong;
}

}  // namespace

ExitStatus Check(const Options& options, const Resources& resources) {
  const auto isDirectory = [](const std::string& path) { return du::FileSystem::DirExists(path.c_str()); };
  const auto directory = std::find_if(options.files.begin(), options.files.end(), isDirectory);
  if (directory == options.files.end()) return CheckFiles(options, resources);
  if (options.files.size() == 1) return CheckDirectory(options, resources);
  PrintError(resources.Text("DIRECTORY_AND_FILES", {*directory}));
  return kWrongUsage;
}

}  // namespace lmkutil
