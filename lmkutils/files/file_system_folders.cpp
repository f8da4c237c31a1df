// FileSystem: the user's folders and native forms of paths.
#include <algorithm>
#include <string>
#include <string_view>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/short_path.h"
#include "lmkutils/os/user_folders.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/text/encoding.h"

namespace du {
namespace {

bool IsAscii(const std::string& text) noexcept {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
}

// The name of a variable at the start of a path and the length of what stands for it; no name, no length.
struct Reference {
  std::string name;
  std::size_t length = 0;
};

Reference ParseReference(const std::string& path) {
  if (path.starts_with("$(")) {
    const std::size_t end = path.find(')');
    if (path.size() < 4 || end == std::string::npos) return {};
    return {.name = path.substr(2, end - 2), .length = end + 1};
  }
  std::size_t end = path.find('/');
  if (end == std::string::npos) end = std::min(path.find('\\'), path.size());
  return {.name = path.substr(1, end - 1), .length = end};
}

}  // namespace

std::string FileSystem::GetHomeDir() {
  std::string home = dp::Environment::Get("HomeDrive") + dp::Environment::Get("HomePath");
  if (home.empty() && !os::GetCapabilities().absolutePathsHaveDrive) home = dp::Environment::Get("HOME");
  return home;
}

std::string FileSystem::GetDocumentsDir() {
  std::string folder;
  if (const os::SystemError error = os::DocumentsFolder(folder)) os::SetLastSystemError(error);
  return folder;
}

std::string FileSystem::GetShortPath(const std::string& path) {
  std::string alias;
  internal::TryPath(path, true, [&alias](const char* form) { return os::ShortPath(form, alias); });
  return alias;
}

std::wstring FileSystem::GetShortPath(const std::wstring& path) {
  std::string narrow;
  if (!ConvertText(path, narrow)) return {};
  return ToWide(GetShortPath(narrow));
}

std::string FileSystem::GetBestNativePath(const std::string& path, bool* ok) {
  if (ok != nullptr) *ok = true;
  if (IsAscii(path)) return path;
  std::string native;
  const std::string alias = GetShortPath(path);
  if (!alias.empty() && os::NativeText(alias, native) == os::kSuccess) return native;
  internal::Trace(dp::TraceType::Warning,
                  "GetBestNativePath failed to get a native encoding for UTF-8 path.\n");
  if (ok != nullptr) *ok = false;
  return path;
}

bool FileSystem::PreProcessEnvVarInPath(std::string& path) {
  if (!path.starts_with('$')) return true;
  const Reference reference = ParseReference(path);
  if (reference.name.empty() || reference.name.find('\0') != std::string::npos) return false;
  const std::string value = dp::Environment::Get(reference.name);
  if (value.empty()) return false;
  path.replace(0, reference.length, value);
  return true;
}

}  // namespace du
