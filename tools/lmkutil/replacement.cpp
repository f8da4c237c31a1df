#include "tools/lmkutil/replacement.h"

#include <system_error>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"

namespace lmkutil {
namespace {

std::filesystem::path Native(const std::string& path) {
  return {std::u8string(path.begin(), path.end())};
}

// Where a link leads, when it leads anywhere; else the path as it is.
std::string PlaceOf(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_symlink(Native(path), error)) return path;
  const std::u8string target = std::filesystem::canonical(Native(path), error).u8string();
  return error ? path : std::string(target.begin(), target.end());
}

}  // namespace

Replacement::Replacement(const std::string& path) : place_(PlaceOf(path)) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(Native(place_), error);
  if (std::filesystem::exists(status)) {
    if (!std::filesystem::is_regular_file(status)) return;
    permissions_ = status.permissions();
  }
  std::string parent;
  du::FileSpec(place_).GetLocation(&parent, false);
  folder_ = du::FileSystem::MkTempDir(parent.empty() ? "." : parent.c_str(), "lmkutil");
}

Replacement::~Replacement() {
  if (folder_.empty()) return;
  du::FileSystem::Unlink(File().c_str(), true);
  du::FileSystem::Rmdir(folder_.c_str(), true);
}

bool Replacement::Finish() {
  std::error_code error;
  if (permissions_ != std::filesystem::perms::unknown)
    std::filesystem::permissions(Native(File()), permissions_, error);
  if (!error) std::filesystem::rename(Native(File()), Native(place_), error);
  return !error;
}

}  // namespace lmkutil
