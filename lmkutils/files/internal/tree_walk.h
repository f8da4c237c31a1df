// Walking a tree of directories to any depth.
#ifndef LMKUTILS_FILES_INTERNAL_TREE_WALK_H
#define LMKUTILS_FILES_INTERNAL_TREE_WALK_H

#include <string>

#include "lmkutils/os/directory_tree.h"

namespace du::internal {

// What to do on the way. The tree stands at the directory that holds the entry, but for Entered, which is
// called inside of it. Names are the system's own.
class TreeVisitor {
 public:
  virtual ~TreeVisitor() = default;

  virtual void VisitFile(const std::string& name) = 0;  // everything but a directory: a link too
  // False: the directory is left again at once, and Left is not called.
  virtual bool Entered(const std::string& name) = 0;
  virtual void Left(const std::string& name) = 0;
  // Something below, or the directory itself when the name is empty, could not be entered or read.
  virtual void Failed(const std::string& name, os::SystemError error) = 0;
};

// Closes the tree at the end of the scope.
class OwnedTree {
 public:
  OwnedTree() noexcept = default;
  OwnedTree(const OwnedTree&) = delete;
  OwnedTree& operator=(const OwnedTree&) = delete;
  ~OwnedTree() { Close(); }

  os::SystemError Open(const std::string& path, os::Links links);
  void Close() noexcept;
  os::Tree* Get() const noexcept { return tree_; }

 private:
  os::Tree* tree_ = nullptr;
};

// Visits everything below the directory at which the tree stands: entries of a directory in no order, each
// directory's after it was entered. Names of a directory are read completely first, so that visitors may
// remove what they are given. Ends early, after Failed, only when the way back is gone.
void WalkTree(os::Tree* tree, TreeVisitor& visitor);

}  // namespace du::internal

#endif
