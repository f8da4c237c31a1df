#include "lmkutils/files/internal/path_text.h"

#include <algorithm>
#include <vector>

#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/os/capabilities.h"

namespace du::internal {
namespace {

constexpr std::string_view kHere = ".";
constexpr std::string_view kUp = "..";

bool HasDots(std::string_view path) noexcept {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find_first_of(kSeparators), path.size());
    const std::string_view name = path.substr(0, end);
    if (name == kHere || name == kUp) return true;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return false;
}

}  // namespace

bool IsUncPath(std::string_view path) noexcept {
  if (path.size() <= 2 || !FileSpec::IsDirSeparator(path[0]) || !FileSpec::IsDirSeparator(path[1]))
    return false;
  const bool special =
      path.size() > 3 && (path[2] == '?' || path[2] == '.') && FileSpec::IsDirSeparator(path[3]);
  return special || path.find(FileSpec::DRIVE_SEP_CHAR) == std::string_view::npos;
}

std::string InSystemSeparators(std::string path) {
  const char mine = os::GetCapabilities().separator;
  std::replace_if(path.begin(), path.end(), FileSpec::IsDirSeparator, mine);
  return path;
}

std::string WithoutDots(const std::string& path) {
  if (!HasDots(path)) return path;
  std::string drive;
  const std::string_view text = path;
  std::size_t start = ScanDrive(text, drive).length;
  start = std::min(text.find_first_not_of(kSeparators, start), text.size());

  std::vector<std::string_view> names;
  for (std::size_t at = start; at <= text.size();) {
    const std::size_t end = std::min(text.find_first_of(kSeparators, at), text.size());
    const std::string_view name = text.substr(at, end - at);
    if (name == kUp && !names.empty()) names.pop_back();
    if (!name.empty() && name != kHere && name != kUp) names.push_back(name);
    at = end + 1;
  }
  const char separator = os::GetCapabilities().separator;
  std::string result(text.substr(0, start));
  for (const std::string_view name : names) {
    result += name;
    result += separator;
  }
  if (!names.empty() && !EndsInSeparator(path)) result.pop_back();
  return result;
}

std::string FolderOf(const std::string& path) {
  const std::size_t length = LastNameStart(path);
  return length != 0 ? path.substr(0, length) : std::string(kHere);
}

std::size_t LastNameStart(std::string_view path) noexcept {
  const std::size_t last = path.find_last_of(kSeparators);
  return last == std::string_view::npos ? 0 : last + 1;
}

}  // namespace du::internal
