// FileSystem: what may be deleted.
#include <algorithm>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/deletable_path.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/files/internal/valid_path_list.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace internal {
namespace {

bool HasParentSteps(const std::string& path) {
  FileSpec spec;
  spec.SetLocation(path);
  return std::find(spec.DirBegin(), spec.DirEnd(), "..") != spec.DirEnd();
}

// Without what only lifts limits: "\\?\C:\" is the drive C, "\\?\UNC\server\share" the share.
std::string WithoutLongPrefix(std::string path) {
  std::replace(path.begin(), path.end(), FileSpec::ALT_DIR_SEP_CHAR, FileSpec::DIR_SEP_CHAR);
  for (const std::string_view prefix : {R"(\\?\UNC\)", R"(\\.\UNC\)"}) {
    if (path.starts_with(prefix)) return R"(\\)" + path.substr(prefix.size());
  }
  if (path.starts_with(R"(\\?\)") || path.starts_with(R"(\\.\)")) return path.substr(4);
  return path;
}

// Whether the list and its texts take the path at all.
bool IsListable(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

}  // namespace

std::string ResolvedForDeletion(const std::string& path) {
  return HasParentSteps(path) ? WithoutDots(FileSystem::MakePathAbsolute(path.c_str())) : path;
}

std::string AsDirectory(std::string path) {
  if (!path.empty() && !EndsInSeparator(path)) path += FileSpec::DIR_SEP_CHAR;
  return path;
}

bool IsRoot(const std::string& path) {
  FileSpec spec;
  const std::string plain = WithoutLongPrefix(path);
  spec.SetLocation(WithoutDots(FileSystem::MakePathAbsolute(plain.c_str())));
  return spec.DirCount() == 0;
}

bool IsPermitted(const std::string& resolved) {
  const ValidPathList* const list = ValidPathList::Instance();
  return list != nullptr && IsListable(resolved) && list->Permits(ValidPath(resolved));
}

void ForgetValidDirectory(const std::string& path) {
  ValidPathList* const list = ValidPathList::Instance();
  if (list != nullptr) list->Remove(ValidPath(AsDirectory(path)));
}

}  // namespace internal

namespace {

void TraceRefusal(const char* format, const char* path) noexcept {
  dp::LMTracer("FilePathValidator", "")(dp::TraceType::Warning, format, path != nullptr ? path : "");
}

}  // namespace

bool FileSystem::AddValidPath(const char* path) {
  const std::string resolved = internal::ResolvedForDeletion(std::string(internal::TextOf(path)));
  internal::ValidPathList* const list = internal::ValidPathList::Instance();
  if (list != nullptr && internal::IsListable(resolved) && list->Add(internal::ValidPath(resolved)))
    return true;
  TraceRefusal("Could not add %s to the valid path list, path is not valid", path);
  return false;
}

// As a directory first: "dir.v2" was added by "dir.v2\", while "dir.v2" itself would take its parent off.
bool FileSystem::RemoveValidPath(const char* path) {
  const std::string resolved = internal::ResolvedForDeletion(std::string(internal::TextOf(path)));
  internal::ValidPathList* const list = internal::ValidPathList::Instance();
  if (list != nullptr && internal::IsListable(resolved) &&
      (list->Remove(internal::ValidPath(internal::AsDirectory(resolved))) ||
       list->Remove(internal::ValidPath(resolved)))) {
    return true;
  }
  TraceRefusal("Could not find %s in the valid path list", path);
  return false;
}

bool FileSystem::IsInValidPathsList(const char* path) {
  return internal::IsPermitted(internal::ResolvedForDeletion(std::string(internal::TextOf(path))));
}

}  // namespace du
