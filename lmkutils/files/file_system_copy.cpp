// FileSystem: copies and backups.
#include <string>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/copy_into.h"
#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/files/internal/path_scan.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/tree_walk.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/file_status.h"

namespace du {
namespace {

using internal::OpenedFile;
using internal::OwnedTree;
using internal::TextOf;
using internal::Trace;
using internal::TryPath;

bool QueryIdentity(const std::string& path, os::FileIdentity& identity) {
  os::FileStatus status;
  const auto query = [&status](const char* form) { return os::QueryStatus(form, &status); };
  if (TryPath(path, true, query) != os::kSuccess) return false;
  identity = status.identity;
  return true;
}

// "C:name" lies in the directory of drive C.
std::string WithDriveDirectory(const std::string& path) {
  const bool relativeToDrive = os::GetCapabilities().absolutePathsHaveDrive &&
                               internal::StartsWithDriveLetter(path.c_str()) && !FileSpec::IsAbsolute(path);
  return relativeToDrive ? FileSystem::MakePathAbsolute(path.c_str()) : path;
}

bool Fail(os::SystemError error) noexcept {
  os::SetLastSystemError(error);
  return error == os::kSuccess;
}

os::SystemError CopyTo(OpenedFile& source, const std::string& path) {
  const std::string target = WithDriveDirectory(path);
  const std::string name = target.substr(internal::LastNameStart(target));
  if (name.empty()) return os::kErrorInvalidName;
  os::FileStatus mine;
  os::FileIdentity theirs;
  if (const os::SystemError error = os::QueryFileStatus(source.Get(), &mine)) return error;
  if (QueryIdentity(target, theirs) && theirs == mine.identity) return os::kErrorSharingViolation;
  OwnedTree folder;
  if (const os::SystemError error = folder.Open(internal::FolderOf(target), os::Links::kFollow)) return error;
  return internal::CopyInto(source, folder.Get(), name);
}

// Copies what a walk visits into another tree, which follows it down and up.
class Copier : public internal::TreeVisitor {
 public:
  Copier(os::Tree* source, os::Tree* target, std::string path)
      : source_(source), target_(target), root_(os::TreeIdentity(target)), path_(std::move(path)) {}

  bool IsComplete() const noexcept { return complete_; }

  void VisitFile(const std::string& name) override {
    os::File file = os::File::kNone;
    os::SystemError error = os::TreeOpenForReading(source_, name, &file);
    OpenedFile opened(file);
    if (error == os::kSuccess) error = internal::CopyInto(opened, target_, name);
    if (error != os::kSuccess) Failed(name, error);
  }
  bool Entered(const std::string& name) override {
    os::SystemError error = os::kErrorSharingViolation;  // the copy itself, reached through a link
    if (os::TreeIdentity(source_) != root_) error = os::TreeMakeDirectory(target_, name);
    if (error == os::kSuccess || error == os::kErrorAlreadyExists) error = os::TreeEnter(target_, name);
    if (error != os::kSuccess) {
      Failed(name, error);
      return false;
    }
    path_ += os::GetCapabilities().separator + name;
    return true;
  }
  void Left(const std::string& name) override {
    path_.resize(path_.size() - name.size() - 1);
    if (const os::SystemError error = os::TreeLeave(target_)) Failed({}, error);
  }
  void Failed(const std::string& name, os::SystemError error) override {
    complete_ = false;
    const std::string path = name.empty() ? path_ : path_ + os::GetCapabilities().separator + name;
    Trace(dp::TraceType::Error, "Failed to copy %s, error: %s", path.c_str(),
          os::SystemErrorText(error).c_str());
  }

 private:
  os::Tree* const source_;
  os::Tree* const target_;
  const os::FileIdentity root_;
  std::string path_;  // of the source, for the traces
  bool complete_ = true;
};

// Whether the path, of which only the first part need exist, leads into the directory.
bool LiesIn(const std::string& path, const os::FileIdentity& directory) {
  const std::string full = internal::WithoutDots(FileSystem::MakePathAbsolute(path.c_str()));
  for (std::size_t end = full.size(); end != std::string::npos && end != 0;
       end = full.find_last_of(internal::kSeparators, end - 1)) {
    os::FileIdentity identity;
    if (QueryIdentity(full.substr(0, end), identity) && identity == directory) return true;
  }
  return false;
}

std::string BackupName(const std::string& path, int number) {
  return path + ".~" + std::to_string(number);
}

bool Exists(const std::string& path) {
  os::FileStatus status;
  return TryPath(path, true, [&status](const char* form) { return os::QueryEntryStatus(form, &status); }) ==
         os::kSuccess;
}

// A backup has the mode of its file, and Windows removes no read-only one.
bool Remove(const std::string& path) {
  const os::SystemError error = TryPath(path, true, os::RemoveFile);
  if (error != os::kErrorAccessDenied) return error == os::kSuccess;
  return FileSystem::SetWritable(path.c_str(), true) && TryPath(path, true, os::RemoveFile) == os::kSuccess;
}

// The number to which the backups in front of it can move up: the first that is free, or the one beyond
// `count`.
int FirstFree(const std::string& path, int count) {
  int number = 1;
  while (number <= count && Exists(BackupName(path, number))) ++number;
  return number;
}

// Moves number 0 to 1, 1 to 2 and so on, the highest first.
bool MoveUp(const std::string& path, int free) {
  for (int number = free; number > 0; --number) {
    const std::string from = BackupName(path, number - 1);
    if (!FileSystem::RenameFile(from.c_str(), BackupName(path, number).c_str())) return false;
  }
  return true;
}

bool RemoveBeyond(const std::string& path, int count) {
  for (int number = count + 1; Exists(BackupName(path, number)); ++number) {
    if (!Remove(BackupName(path, number))) return false;
  }
  return true;
}

}  // namespace

bool FileSystem::CopyFile(const char* from, const char* to) {
  const std::string target(TextOf(to));
  if (!internal::IsUsablePath(target)) return false;
  OpenedFile source;
  if (!source.OpenForReading(std::string(TextOf(from)))) return false;
  const os::SystemError error = CopyTo(source, target);
  return error == os::kSuccess || Fail(error);
}

bool FileSystem::CopyDirectory(const char* from, const char* to) {
  const std::string target(TextOf(to));
  if (!internal::IsUsablePath(target)) return false;
  OwnedTree source;
  if (source.Open(std::string(TextOf(from)), os::Links::kFollow) != os::kSuccess) return false;
  if (LiesIn(target, os::TreeIdentity(source.Get()))) {
    Trace(dp::TraceType::Error, "The directory %s cannot be copied into itself", TextOf(from).data());
    return Fail(os::kErrorSharingViolation);
  }
  OwnedTree copy;
  if (!BuildPath(target, false) || copy.Open(target, os::Links::kFollow) != os::kSuccess) return false;
  Copier copier(source.Get(), copy.Get(), from);
  internal::WalkTree(source.Get(), copier);
  return copier.IsComplete();
}

// The new copy is made first, as number 0, and the one too many removed last: whichever step fails, all older
// backups are there.
bool FileSystem::BackupFile(const std::string& path, int count) {
  if (count < 1 || (path.size() >= 2 && path[path.size() - 2] == '~')) return true;
  if (!internal::IsUsablePath(path)) return false;
  const std::string fresh = BackupName(path, 0);
  if (!CopyFile(path.c_str(), fresh.c_str())) return false;
  const int free = FirstFree(path, count);
  const bool beyond = free > count && Exists(BackupName(path, free));
  if ((beyond && !Remove(BackupName(path, free))) || !MoveUp(path, free)) {
    const os::SystemError error = os::LastSystemError();
    if (Exists(fresh)) Remove(fresh);
    return Fail(error);
  }
  return RemoveBeyond(path, count);
}

}  // namespace du
