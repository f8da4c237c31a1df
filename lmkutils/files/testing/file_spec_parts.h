// FileSpec as plain data, for tests: its parts compare and print.
#ifndef LMKUTILS_FILES_TESTING_FILE_SPEC_PARTS_H
#define LMKUTILS_FILES_TESTING_FILE_SPEC_PARTS_H

#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/os/fault/capabilities.h"

namespace du {

struct FileSpecParts {
  std::string drive;
  std::vector<std::string> directories;
  std::string base;
  std::string extension;
  bool absolute = false;

  bool operator==(const FileSpecParts&) const = default;
  auto Key() const { return std::tie(drive, absolute, directories, base, extension); }
};

inline FileSpecParts PartsOf(const FileSpec& spec) {
  FileSpecParts parts;
  parts.directories.assign(spec.DirBegin(), spec.DirEnd());
  parts.absolute = spec.IsAbsolute();
  spec.GetDrive(&parts.drive);
  spec.GetFileBaseName(&parts.base);
  spec.GetFileExtension(&parts.extension);
  return parts;
}

// For gtest's messages.
inline void PrintTo(const FileSpecParts& parts, std::ostream* out) {
  *out << "drive <" << parts.drive << "> directories";
  for (const std::string& name : parts.directories) *out << " <" << name << '>';
  *out << " base <" << parts.base << "> extension <" << parts.extension << '>'
       << (parts.absolute ? " absolute" : " relative");
}
inline void PrintTo(const FileSpec& spec, std::ostream* out) {
  PrintTo(PartsOf(spec), out);
}

inline std::string FullText(const FileSpec& spec) {
  std::string text = "replaced";
  EXPECT_TRUE(spec.GetFileSpec(&text));
  return text;
}

inline std::string Location(const FileSpec& spec, bool withTrailingSeparator) {
  std::string text = "replaced";
  EXPECT_TRUE(spec.GetLocation(&text, withTrailingSeparator));
  return text;
}

// This target, but for whether its paths have drives.
inline os::Capabilities FactsWithDrives(bool drives) {
  os::Capabilities facts = os::GetCapabilities();
  facts.absolutePathsHaveDrive = drives;
  return facts;
}

}  // namespace du

#endif
