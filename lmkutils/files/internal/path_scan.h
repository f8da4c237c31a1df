// How path text is taken apart: what FileSpec's parsers share. Both separators count everywhere.
#ifndef LMKUTILS_FILES_INTERNAL_PATH_SCAN_H
#define LMKUTILS_FILES_INTERNAL_PATH_SCAN_H

#include <cstddef>
#include <string>
#include <string_view>

namespace du::internal {

// Whether NUL-terminated text starts with a drive letter (ASCII, whatever the locale) and its ':'.
bool StartsWithDriveLetter(const char* text) noexcept;

struct DriveScan {
  bool found = false;
  bool sharePresent = false;  // a UNC name with its share
  std::size_t length = 0;     // bytes of the text that the drive takes
};

// Recognises a drive letter or a UNC name at the start of `text` and puts it into `drive` in FileSpec's form:
// the upper-case letter without ':', or \\server\share with '\' only. `drive` is emptied when there is none.
DriveScan ScanDrive(std::string_view text, std::string& drive);

// Takes the next non-empty piece that a separator ends off `rest`. False when there is none: `rest` is then
// what follows the last separator.
bool NextDirectory(std::string_view& rest, std::string_view& name) noexcept;

struct FileName {
  std::string_view base;
  std::string_view extension;  // without the '.'
};

// At the last '.'; a name without one, and one of dots alone, is all base name.
FileName SplitAtLastDot(std::string_view name) noexcept;

// The same, but a numbered version is split at the first '.' of the name.
FileName SplitFileName(std::string_view name) noexcept;

}  // namespace du::internal

#endif
