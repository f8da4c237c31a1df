// A file that takes another one's place when it is complete.
#ifndef LMKUTIL_REPLACEMENT_H
#define LMKUTIL_REPLACEMENT_H

#include <filesystem>
#include <string>

namespace lmkutil {

// Made in a folder of this user's alone beside the place, and removed at the end of the scope unless it got
// there: whatever happens, an older file is whole. Throws std::bad_alloc. One thread.
class Replacement {
 public:
  // `path` is UTF-8. Where it is a link, the place is where that leads.
  explicit Replacement(const std::string& path);
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement();

  // False when nothing can be made there, or the place is taken by what is no file: a folder, a device.
  [[nodiscard]] bool IsPossible() const noexcept { return !folder_.empty(); }
  // The path to write to. There is nothing yet.
  std::string File() const { return folder_ + "/new"; }
  // Puts what was written into its place, in one step, with the permissions of an older file. False when that
  // failed.
  [[nodiscard]] bool Finish();

 private:
  std::string place_;
  std::filesystem::perms permissions_ = std::filesystem::perms::unknown;  // when there is no older file
  std::string folder_;
};

}  // namespace lmkutil

#endif
