#include "lmkutils/files/internal/path_scan.h"

#include <algorithm>

#include "lmkutils/files/file_spec.h"

namespace du::internal {
namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr unsigned kHighestVersion = 254;

constexpr bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr char ToUpper(char letter) {
  return static_cast<char>(letter & ~0x20);
}

// The end of the piece that begins at `start`: the next separator or the end of the text.
std::size_t PieceEnd(std::string_view text, std::size_t start) noexcept {
  while (start < text.size() && !FileSpec::IsDirSeparator(text[start])) ++start;
  return start;
}

DriveScan ScanUncName(std::string_view text, std::string& drive) {
  DriveScan scan{.found = true};
  const std::size_t serverEnd = PieceEnd(text, 2);
  drive.assign(2, FileSpec::DIR_SEP_CHAR).append(text.substr(2, serverEnd - 2));
  scan.length = serverEnd;
  if (serverEnd == text.size()) return scan;

  drive += FileSpec::DIR_SEP_CHAR;
  const std::size_t share = std::min(text.find_first_not_of(kSeparators, serverEnd), text.size());
  scan.length = PieceEnd(text, share);
  scan.sharePresent = share < text.size();
  drive.append(text.substr(share, scan.length - share));
  return scan;
}

// Whether digits, and nothing else, give a number that a version can have.
bool IsVersion(std::string_view digits) noexcept {
  unsigned value = 0;
  for (const char c : digits) {
    if (!IsDigit(c)) return false;
    value = std::min(value * 10 + static_cast<unsigned>(c - '0'), kHighestVersion + 1);
  }
  return value >= 1 && value <= kHighestVersion;
}

}  // namespace

bool StartsWithDriveLetter(const char* text) noexcept {
  return IsLetter(text[0]) && text[1] == FileSpec::DRIVE_SEP_CHAR;
}

DriveScan ScanDrive(std::string_view text, std::string& drive) {
  if (text.size() >= 2 && IsLetter(text[0]) && text[1] == FileSpec::DRIVE_SEP_CHAR) {
    drive.assign(1, ToUpper(text[0]));
    return {.found = true, .length = 2};
  }
  if (text.size() >= 2 && FileSpec::IsDirSeparator(text[0]) && FileSpec::IsDirSeparator(text[1])) {
    return ScanUncName(text, drive);
  }
  drive.clear();
  return {};
}

bool NextDirectory(std::string_view& rest, std::string_view& name) noexcept {
  for (;;) {
    const std::size_t end = PieceEnd(rest, 0);
    if (end == rest.size()) return false;
    name = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    if (!name.empty()) return true;
  }
}

FileName SplitAtLastDot(std::string_view name) noexcept {
  const std::size_t dot = name.rfind(FileSpec::EXT_SEP_CHAR);
  const bool dotsAlone = name.find_first_not_of(FileSpec::EXT_SEP_CHAR) == std::string_view::npos;
  if (dot == std::string_view::npos || dotsAlone) return {.base = name, .extension = {}};
  return {.base = name.substr(0, dot), .extension = name.substr(dot + 1)};
}

FileName SplitFileName(std::string_view name) noexcept {
  const FileName split = SplitAtLastDot(name);
  if (!IsVersion(split.extension)) return split;
  const std::size_t dot = name.find(FileSpec::EXT_SEP_CHAR);
  return {.base = name.substr(0, dot), .extension = name.substr(dot + 1)};
}

}  // namespace du::internal
