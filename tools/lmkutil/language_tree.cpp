#include "tools/lmkutil/language_tree.h"

#include <algorithm>
#include <string_view>

#include "lmkutils/files/find_file.h"
#include "lmkutils/platform/lm_info.h"

namespace lmkutil {
namespace {

constexpr std::string_view kExtension = ".lmtrb";

// The code of a language, or what regional ones fall back to.
bool IsLanguage(const std::string& name) {
  const std::vector<std::string> codes = dp::LmInfo::GetSupportedLanguages();
  return std::any_of(codes.begin(), codes.end(),
                     [&](const std::string& code) { return name == code || name == BaseLanguage(code); });
}

std::vector<std::string> Names(const std::string& directory, du::FindFile::TypeConstraint constraint) {
  std::vector<std::string> names;
  du::FindFile find;
  std::string name;
  for (const du::FileSpec* file = &find.FindFirstFileName(directory + "/*", constraint); !file->empty();
       file = &find.GetNextFileName()) {
    if (file->GetFile(&name)) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// A folder counts as one of a language by its name, or by what is in it.
bool ReadFolder(const std::string& directory, const std::string& name, LanguageFolder& folder) {
  folder = {name, directory + "/" + name, {}, IsLanguage(name)};
  for (std::string& file : Names(folder.path, du::FindFile::FILES_ONLY)) {
    if (file.ends_with(kExtension)) folder.files.push_back(std::move(file));
  }
  return folder.isKnown || !folder.files.empty();
}

bool ReadProduct(const std::string& directory, Product& product) {
  LanguageFolder folder;
  product = {directory, {}};
  if (!ReadFolder(directory, kReferenceLanguage, folder) || folder.files.empty()) return false;
  product.languages.push_back(std::move(folder));
  for (const std::string& name : Names(directory, du::FindFile::DIRECTORIES_ONLY)) {
    if (name != kReferenceLanguage && ReadFolder(directory, name, folder))
      product.languages.push_back(std::move(folder));
  }
  return true;
}

}  // namespace

std::string BaseLanguage(const std::string& code) {
  return code.substr(0, code.find('_'));
}

std::vector<Product> FindProducts(const std::string& directory) {
  Product product;
  if (ReadProduct(directory, product)) return {product};
  std::vector<Product> products;
  for (const std::string& parent : {directory, directory + "/share"}) {
    for (const std::string& name : Names(parent, du::FindFile::DIRECTORIES_ONLY)) {
      std::string path = parent;
      path.append("/").append(name);
      if (ReadProduct(path, product)) products.push_back(product);
    }
  }
  return products;
}

std::string LanguageOfPath(const std::string& path) {
  for (std::size_t end = path.size(); end != path.npos;) {
    const std::size_t separator = end == 0 ? path.npos : path.find_last_of("/\\", end - 1);
    const std::size_t start = separator == path.npos ? 0 : separator + 1;
    const std::string name = path.substr(start, end - start);
    std::string code = name.substr(0, name.find('.'));
    if (IsLanguage(code)) return code;
    end = separator;
  }
  return "";
}

}  // namespace lmkutil
