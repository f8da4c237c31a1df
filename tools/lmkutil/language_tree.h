// Where the languages of a product are found: one folder for each.
#ifndef LMKUTIL_LANGUAGE_TREE_H
#define LMKUTIL_LANGUAGE_TREE_H

#include <string>
#include <vector>

namespace lmkutil {

inline constexpr char kReferenceLanguage[] = "en";

struct LanguageFolder {
  std::string code;  // the name of the folder
  std::string path;
  std::vector<std::string> files;  // the names of the string-resource files in it, sorted
  bool isKnown = true;             // the library looks into folders of this name
};

struct Product {
  std::string path;
  std::vector<LanguageFolder> languages;  // the reference language first, the others by code
};

// The products of a directory, which is a product's itself (share/lumora), or holds such directories, or
// holds them in "share" as an installation does. A product has a folder for the reference language with
// string-resource files in it. Empty when there is none.
std::vector<Product> FindProducts(const std::string& directory);

// "pt" for "pt_BR", whose place it takes where a file is missing there; any other code as it is.
std::string BaseLanguage(const std::string& code);

// The code of the last folder or file name on the path that is one of a language, without its suffix; empty
// when there is none.
std::string LanguageOfPath(const std::string& path);

}  // namespace lmkutil

#endif
