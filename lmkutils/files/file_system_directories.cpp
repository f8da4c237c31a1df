// FileSystem: making and naming directories and files.
#include <algorithm>
#include <string>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/directory.h"
#include "lmkutils/os/file.h"
#include "lmkutils/os/saved_error.h"

namespace du {
namespace {

using internal::TextOf;
using internal::TryPath;

constexpr bool kIsFile = true;

// When it cannot be made, another thread or process may have been first. The reason why not stays.
bool MakeUnlessThere(const std::string& path) {
  if (FileSystem::DirExists(path.c_str()) || FileSystem::Mkdir(path.c_str()) == 0) return true;
  const os::SavedError reason;
  return FileSystem::DirExists(path.c_str());
}

// Each missing directory of the path, the first one first. What stands for a root (a drive, a server and its
// share) is not asked about.
bool MakeAll(const std::string& path) {
  std::string drive;
  const std::size_t start = internal::ScanDrive(path, drive).length;
  std::size_t end = path.find_first_not_of(internal::kSeparators, start);
  while (end != std::string::npos) {
    end = std::min(path.find_first_of(internal::kSeparators, end), path.size());
    if (!MakeUnlessThere(path.substr(0, end))) return false;
    end = path.find_first_not_of(internal::kSeparators, end);
  }
  return true;
}

}  // namespace

int FileSystem::Chdir(const char* path) {
  return TryPath(std::string(TextOf(path)), !kIsFile, os::ChangeDirectory) == os::kSuccess ? 0 : -1;
}

int FileSystem::Mkdir(const char* path) {
  const auto make = [](const char* form) { return os::MakeDirectory(form, os::DirectoryAccess::kDefault); };
  return TryPath(std::string(TextOf(path)), !kIsFile, make) == os::kSuccess ? 0 : -1;
}

bool FileSystem::BuildPath(const std::string& path, bool isFile) {
  if (!internal::IsUsablePath(path)) return false;
  const std::string directories = isFile ? path.substr(0, internal::LastNameStart(path)) : path;
  if (directories.empty() || DirExists(directories.c_str())) return true;  // the usual case at once
  return MakeAll(directories);
}

bool FileSystem::RenameFile(const char* from, const char* to) {
  const std::string target(TextOf(to));
  if (!internal::IsUsablePath(target)) return false;
  const auto rename = [](const std::string& source) {
    return [&source](const char* form) { return os::RenameEntry(source.c_str(), form); };
  };
  return TryPath(std::string(TextOf(from)), kIsFile, [&](const char* form) {
           const std::string source = form;
           return TryPath(target, kIsFile, rename(source));
         }) == os::kSuccess;
}

}  // namespace du
