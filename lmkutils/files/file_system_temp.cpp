// FileSystem: temporary files and directories.
#include <string>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/files/internal/opened_file.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/unique_name.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/directory.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/os/user_folders.h"
#include "lmkutils/platform/environment.h"

namespace du {
namespace {

using internal::kAttemptsAtUniqueName;
using internal::TextOf;
using internal::Trace;
using internal::TryPath;

// Part of a name: a separator in it would lead elsewhere.
bool IsNamePart(std::string_view text) {
  if (text.find_first_of(internal::kSeparators) == std::string_view::npos) return true;
  Trace(dp::TraceType::Warning, "The name %s has a separator", std::string(text).c_str());
  os::SetLastSystemError(os::kErrorInvalidName);
  return false;
}

// Where the names go, ending in a separator; the temporary folder for an empty text. Empty when neither is
// usable.
std::string FolderOrDefault(const char* folder) {
  std::string path(TextOf(folder));
  if (path.empty()) path = FileSystem::GetTempDir(true);
  if (!internal::IsUsablePath(path)) return {};
  path = internal::InSystemSeparators(path);
  if (!internal::EndsInSeparator(path)) path += os::GetCapabilities().separator;
  return path;
}

bool IsTaken(os::SystemError error) noexcept {
  return error == os::kErrorAlreadyExists || error == os::kErrorFileExists;
}

}  // namespace

std::string FileSystem::GetTempDir(bool withTrailingSeparator) {
  std::string folder = dp::Environment::Get("LUMORA_TEMP");
  if (folder.empty()) {
    if (const os::SystemError error = os::TemporaryFolder(folder)) {
      os::SetLastSystemError(error);
      return {};
    }
  }
  FileSpec spec;
  spec.SetDirPath(folder);
  std::string path;
  spec.GetLocation(&path, withTrailingSeparator);
  return internal::InSystemSeparators(path);
}

std::string FileSystem::MkTempDir(const char* prefix) {
  return MkTempDir(nullptr, prefix);
}

std::string FileSystem::MkTempDir(const char* parent, const char* prefix) {
  const std::string folder = FolderOrDefault(parent);
  if (folder.empty() || !IsNamePart(TextOf(prefix))) return {};
  const auto make = [](const char* form) { return os::MakeDirectory(form, os::DirectoryAccess::kPrivate); };
  for (int attempt = 0; attempt < kAttemptsAtUniqueName; ++attempt) {
    std::string path = folder + internal::MakeUniqueName(TextOf(prefix));
    if (TryPath(path, false, make) == os::kSuccess) return path;
    os::YieldThread();
  }
  Trace(dp::TraceType::Error, "Failed to create temporary directory after %d retries.",
        kAttemptsAtUniqueName);
  return {};
}

std::string FileSystem::MkTempFile(const char* dir, const char* prefix, const char* extension) {
  const std::string folder = FolderOrDefault(dir);
  if (folder.empty() || !IsNamePart(TextOf(prefix)) || !IsNamePart(TextOf(extension))) return {};
  std::string suffix(TextOf(extension));
  if (!suffix.empty()) suffix.insert(0, 1, FileSpec::EXT_SEP_CHAR);
  for (int attempt = 0; attempt < kAttemptsAtUniqueName; ++attempt) {
    std::string path = folder + internal::MakeUniqueName(TextOf(prefix)).append(suffix);
    os::File file = os::File::kNone;
    const os::SystemError error =
        TryPath(path, true, [&file](const char* form) { return os::CreatePrivateFile(form, &file); });
    if (error == os::kSuccess) {
      os::CloseFile(file);
      return path;
    }
    if (!IsTaken(error)) {
      Trace(dp::TraceType::Error, " Couldn't create temporary file \"%s\" - %s.", path.c_str(),
            os::SystemErrorText(error).c_str());
      os::SetLastSystemError(error);
      return {};
    }
  }
  Trace(dp::TraceType::Error, "Failed to create temporary file after %d retries.", kAttemptsAtUniqueName);
  return {};
}

}  // namespace du
