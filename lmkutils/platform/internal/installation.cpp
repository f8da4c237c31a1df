#include "lmkutils/platform/internal/installation.h"

#include <algorithm>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/directory.h"

namespace dp::internal {
namespace {

using du::FileSpec;

// A root is its own parent.
std::string Parent(const std::string& path) {
  const std::size_t separator = path.rfind(os::GetCapabilities().separator);
  if (separator == std::string::npos) return {};
  const bool belowRoot = separator == 0 || path[separator - 1] == FileSpec::DRIVE_SEP_CHAR;
  return path.substr(0, belowRoot ? separator + 1 : separator);
}

bool HoldsData(const std::string& root) {
  return os::IsDirectory(PathBelow(root, kDataDirectory));
}

}  // namespace

std::string FindInstallationRoot(const std::string& modulePath) {
  std::string root = Parent(Parent(modulePath));
  // lib/<machine>, where distributions keep the libraries of several processors.
  std::string above = Parent(root);
  return !HoldsData(root) && HoldsData(above) ? above : root;
}

bool IsAcceptableRoot(const std::string& path) noexcept {
  if (path.find('\0') != std::string::npos || !FileSpec::IsAbsolute(path)) return false;
  const bool startsWithSeparator = FileSpec::IsDirSeparator(path[0]);
  if (!os::GetCapabilities().absolutePathsHaveDrive) return startsWithSeparator;
  // Root-relative text would mean another place whenever the current drive changes.
  return !startsWithSeparator || (path.size() > 1 && FileSpec::IsDirSeparator(path[1]));
}

std::string InSystemForm(std::string path) {
  std::replace_if(path.begin(), path.end(), FileSpec::IsDirSeparator, os::GetCapabilities().separator);
  while (path.size() > 1 && FileSpec::IsDirSeparator(path.back()) &&
         path[path.size() - 2] != FileSpec::DRIVE_SEP_CHAR) {
    path.pop_back();
  }
  return path;
}

std::string PathBelow(const std::string& directory, std::string_view name) {
  if (directory.empty()) return {};
  std::string path = directory;
  if (!FileSpec::IsDirSeparator(path.back())) path += '/';
  if (!name.empty() && FileSpec::IsDirSeparator(name[0])) name.remove_prefix(1);
  return InSystemForm(path.append(name));
}

}  // namespace dp::internal
