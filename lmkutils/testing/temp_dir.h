// A folder of its own for each test, removed with all that is in it at the end.
#ifndef LMKUTILS_TESTING_TEMP_DIR_H
#define LMKUTILS_TESTING_TEMP_DIR_H

#include <string>
#include <string_view>

namespace lmktest {

class TempDir {
 public:
  // The folder's name begins with `stem` (UTF-8, any characters that a file name may have).
  // Throws std::filesystem::filesystem_error when it cannot be made.
  explicit TempDir(std::string_view stem = "lmk-test");
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();

  // UTF-8, absolute, without a separator at its end, with the separators of the target.
  const std::string& Path() const { return path_; }
  // The path of `name` in the folder; the file need not exist.
  std::string File(std::string_view name) const;
  // Writes the bytes as they are and returns the file's path; replaces an older file.
  std::string Write(std::string_view name, std::string_view bytes) const;
  // The bytes of a file in the folder; empty when it cannot be read.
  std::string Read(std::string_view name) const;

 private:
  std::string path_;
};

// The bytes of any file given by a UTF-8 path; empty when it cannot be read.
std::string ReadWholeFile(const std::string& path);

}  // namespace lmktest

#endif
