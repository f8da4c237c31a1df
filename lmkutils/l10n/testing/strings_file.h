// Installations of strings files for tests.
#ifndef LMKUTILS_L10N_TESTING_STRINGS_FILE_H
#define LMKUTILS_L10N_TESTING_STRINGS_FILE_H

#include <filesystem>
#include <string>

#include "lmkutils/testing/temp_dir.h"

namespace lmktest {

// Writes the strings file of p:resource in a language into an installation whose root is the folder.
inline void PutStringsFile(const TempDir& root, const std::string& language, const std::string& resource,
                           const std::string& bytes) {
  const std::string name = "share/p/" + language + "/" + resource + ".lmtrb";
  std::filesystem::create_directories(std::filesystem::u8path(root.File(name)).parent_path());
  root.Write(name, bytes);
}

}  // namespace lmktest

#endif
