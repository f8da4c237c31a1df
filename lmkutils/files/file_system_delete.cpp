// FileSystem: deletion.
#include <string>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/deletable_path.h"
#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/tree_walk.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/directory.h"
#include "lmkutils/os/file.h"
#include "lmkutils/os/file_status.h"
#include "lmkutils/os/saved_error.h"

namespace du {
namespace {

using internal::Trace;
using internal::TryPath;

std::string ErrorText(os::SystemError error) {
  const std::string text = os::SystemErrorText(error);
  return text.empty() ? "Unknown Error" : text;
}

void TraceFailure(const char* what, const std::string& path, os::SystemError error) {
  const os::SavedError keep;
  Trace(dp::TraceType::Error, "Failed to delete %s : %s, error: %s", what, path.c_str(),
        ErrorText(error).c_str());
}

// A separator at the end would have the system follow a link.
std::string WithoutLastSeparators(std::string path) {
  while (path.size() > 1 && internal::EndsInSeparator(path)) path.pop_back();
  return path;
}

// Whether the resolved path may be deleted. A root never may; `refusal`, with the path as it was given, is
// traced when the list does not permit it.
bool MayDelete(const std::string& resolved, const std::string& given, bool force, const char* refusal) {
  if (!internal::IsUsablePath(resolved)) return false;
  if (!force && !internal::IsPermitted(resolved)) {
    Trace(dp::TraceType::Debug, refusal, given.c_str());
  } else if (internal::IsRoot(resolved)) {
    Trace(dp::TraceType::Warning, "The root %s is not removed", given.c_str());
  } else {
    return true;
  }
  os::SetLastSystemError(os::kErrorAccessDenied);
  return false;
}

// Empties a directory. Keeps the full path of where the walk is, for the traces and the list.
class Eraser : public internal::TreeVisitor {
 public:
  Eraser(os::Tree* tree, std::string path, bool force) : tree_(tree), path_(std::move(path)), force_(force) {}

  void VisitFile(const std::string& name) override {
    if (const os::SystemError error = os::TreeRemoveFile(tree_, name))
      TraceFailure("file", PathOf(name), error);
  }
  bool Entered(const std::string& name) override {
    path_ = PathOf(name);
    return true;
  }
  void Left(const std::string& name) override {
    const std::string directory = path_;
    path_.resize(path_.size() - name.size() - 1);
    if (const os::SystemError error = os::TreeRemoveDirectory(tree_, name)) {
      TraceFailure("directory", directory, error);
    } else if (!force_) {
      internal::ForgetValidDirectory(directory);
    }
  }
  void Failed(const std::string& name, os::SystemError error) override {
    TraceFailure("directory", name.empty() ? path_ : PathOf(name), error);
  }

 private:
  std::string PathOf(const std::string& name) const { return path_ + os::GetCapabilities().separator + name; }

  os::Tree* const tree_;
  std::string path_;
  const bool force_;
};

bool IsLink(const std::string& path) {
  os::FileStatus status;
  return TryPath(path, true, [&status](const char* form) { return os::QueryEntryStatus(form, &status); }) ==
             os::kSuccess &&
         status.kind == os::EntryKind::kLink;
}

// The directory itself is removed last, by its path.
os::SystemError RemoveTree(const std::string& path, bool force) {
  if (IsLink(path)) return TryPath(path, true, os::RemoveFile);
  internal::OwnedTree tree;
  if (const os::SystemError error = tree.Open(path, os::Links::kRefuse)) return error;
  Eraser eraser(tree.Get(), path, force);
  internal::WalkTree(tree.Get(), eraser);
  tree.Close();
  return TryPath(path, false, os::RemoveEmptyDirectory);
}

}  // namespace

int FileSystem::Unlink(const char* path, bool force) {
  const std::string given(internal::TextOf(path));
  const std::string resolved = internal::ResolvedForDeletion(given);
  constexpr const char* kRefusal = "Could not remove the file %s as it is not part of the valid path list";
  if (!MayDelete(resolved, given, force, kRefusal)) return -1;
  return TryPath(resolved, true, os::RemoveFile) == os::kSuccess ? 0 : -1;
}

int FileSystem::Rmdir(const char* path, bool force) {
  const std::string given(internal::TextOf(path));
  const std::string resolved = internal::AsDirectory(internal::ResolvedForDeletion(given));
  constexpr const char* kRefusal =
      "Could not remove the directory %s as it is not part of the valid path list";
  if (!MayDelete(resolved, given, force, kRefusal)) return -1;
  return TryPath(WithoutLastSeparators(resolved), false, os::RemoveEmptyDirectory) == os::kSuccess ? 0 : -1;
}

bool FileSystem::DeletePath(const std::string& path, bool force) {
  if (!internal::IsUsablePath(path)) return false;
  const std::string resolved = internal::AsDirectory(internal::ResolvedForDeletion(path));
  constexpr const char* kRefusal = "Could not delete the path %s as it is not part of the valid path list";
  if (!MayDelete(resolved, path, force, kRefusal)) return false;
  const std::string directory = WithoutLastSeparators(resolved);
  if (const os::SystemError error = RemoveTree(directory, force)) {
    TraceFailure("directory", directory, error);
    os::SetLastSystemError(error);
    return false;
  }
  if (!force) internal::ForgetValidDirectory(directory);
  return true;
}

}  // namespace du
