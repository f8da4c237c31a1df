#include "lmkutils/files/internal/tree_walk.h"

#include <utility>
#include <vector>

#include "lmkutils/files/internal/usable_path.h"

namespace du::internal {
namespace {

// A directory on the way down, on a stack of our own: trees are deeper than a thread's stack.
struct Level {
  std::string name;
  std::vector<os::DirectoryEntry> entries;  // those not visited yet
};

class Walk {
 public:
  Walk(os::Tree* tree, TreeVisitor& visitor) : tree_(tree), visitor_(visitor) {}

  void Run() {
    Descend({});
    while (!levels_.empty()) {
      if (levels_.back().entries.empty()) {
        if (!Ascend()) return;
        continue;
      }
      const os::DirectoryEntry entry = std::move(levels_.back().entries.back());
      levels_.back().entries.pop_back();
      if (entry.kind == os::EntryKind::kDirectory) {
        if (!Enter(entry.name)) return;
      } else {
        visitor_.VisitFile(entry.name);
      }
    }
  }

 private:
  void Descend(std::string name) {
    Level level{.name = std::move(name), .entries = {}};
    if (const os::SystemError error = os::TreeList(tree_, &level.entries)) visitor_.Failed({}, error);
    levels_.push_back(std::move(level));
  }

  bool Enter(const std::string& name) {
    if (const os::SystemError error = os::TreeEnter(tree_, name)) {
      visitor_.Failed(name, error);
      return true;
    }
    if (!visitor_.Entered(name)) return Leave();
    Descend(name);
    return true;
  }

  bool Ascend() {
    const std::string name = std::move(levels_.back().name);
    levels_.pop_back();
    if (levels_.empty()) return true;
    if (!Leave()) return false;
    visitor_.Left(name);
    return true;
  }

  bool Leave() {
    const os::SystemError error = os::TreeLeave(tree_);
    if (error != os::kSuccess) visitor_.Failed({}, error);
    return error == os::kSuccess;
  }

  os::Tree* const tree_;
  TreeVisitor& visitor_;
  std::vector<Level> levels_;
};

}  // namespace

os::SystemError OwnedTree::Open(const std::string& path, os::Links links) {
  Close();
  return TryPath(path, false, [&](const char* form) { return os::TreeOpen(form, links, &tree_); });
}

void OwnedTree::Close() noexcept {
  os::TreeClose(std::exchange(tree_, nullptr));
}

void WalkTree(os::Tree* tree, TreeVisitor& visitor) {
  Walk(tree, visitor).Run();
}

}  // namespace du::internal
