// The directories below which files may be deleted.
#ifndef LMKUTILS_FILES_INTERNAL_VALID_PATH_LIST_H
#define LMKUTILS_FILES_INTERNAL_VALID_PATH_LIST_H

#include <cstddef>
#include <set>
#include <string>

#include "lmkutils/platform/object_level_read_write_lockable.h"

namespace du::internal {

// A path as the list compares it: '\' throughout, one at the end, what looks like a file's name cut off.
struct ValidPath {
  explicit ValidPath(const std::string& path);

  // What may stand in the list: below a root, without wildcards and the like, and from a root on.
  bool IsValid() const;
  bool operator<(const ValidPath& other) const noexcept { return text < other.text; }

  std::string text;
  std::size_t depth = 0;  // directories; 0 when a name is blank
  bool isUnc = false;
  bool hasRoot = false;  // a drive or a server, which tells where in a text a path begins
};

// One for the process, in static storage: at the end of the process it is emptied, not destroyed, since other
// threads may still be asking. Any thread.
class ValidPathList : private dp::ObjectLevelReadWriteLockable<ValidPathList*> {
 public:
  // Null after the end: nothing may be deleted then.
  static ValidPathList* Instance() noexcept;

  bool Add(const ValidPath& path);  // false for one that is not valid
  bool Remove(const ValidPath& path);
  bool Permits(const ValidPath& candidate) const;

 private:
  struct Traits;
  ValidPathList() = default;
  void Close() noexcept;

  std::set<ValidPath> entries_;
};

}  // namespace du::internal

#endif
