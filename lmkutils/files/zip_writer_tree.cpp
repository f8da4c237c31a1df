// ZipWriter: adding directories.
#include <string>
#include <utility>
#include <vector>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/tree_walk.h"
#include "lmkutils/files/internal/zip_output.h"
#include "lmkutils/files/internal/zip_writer_failure.h"
#include "lmkutils/files/zip_writer.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/clock.h"

namespace du {
// Adds what a walk visits. The members' names follow the paths down and up.
class ZipWriter::TreeAdder : public internal::TreeVisitor {
 public:
  TreeAdder(ZipWriter& writer, internal::ZipOutput& archive, std::string dir, std::string prefix, int levels)
      : writer_(writer), archive_(archive), path_(std::move(dir)), name_(std::move(prefix)), levels_(levels) {
    if (!internal::EndsInSeparator(path_)) path_ += os::GetCapabilities().separator;
    if (name_.ends_with('/')) isEmpty_.push_back(true);  // the first directory has a name here, too
  }

  // After the walk. False when anything is missing.
  bool Finish() {
    if (!isEmpty_.empty() && isEmpty_.back() && !AddEmpty()) complete_ = false;
    return complete_;
  }

  void VisitFile(const std::string& name) override {
    if (!isEmpty_.empty()) isEmpty_.back() = false;
    if (!writer_.WriteInFileInZip(path_ + name, name_ + name, &archive_)) complete_ = false;
  }

  bool Entered(const std::string& name) override {
    if (!isEmpty_.empty()) isEmpty_.back() = false;
    if (levels_ == 0 || archive_.IsStopped() || writer_.IsExcluded(path_ + name)) return false;
    if (levels_ > 0) --levels_;
    isEmpty_.push_back(true);
    path_ += name + os::GetCapabilities().separator;
    name_ += name + '/';
    return true;
  }

  void Left(const std::string& name) override {
    if (isEmpty_.back() && !AddEmpty()) complete_ = false;
    isEmpty_.pop_back();
    path_.resize(path_.size() - name.size() - 1);
    name_.resize(name_.size() - name.size() - 1);
    if (levels_ >= 0) ++levels_;
  }

  void Failed(const std::string& name, os::SystemError error) override {
    complete_ = false;
    if (!isEmpty_.empty()) isEmpty_.back() = false;  // as far as anybody knows
    writer_.Fail(archive_, {ZipProblem::kCannotReadFile, ZIP_ERRNO, "Open to file for reading", error},
                 path_ + name);
  }

 private:
  bool AddEmpty() {
    FileStat stat;
    const bool isKnown = FileSystem::Stat(path_.c_str(), &stat) == 0;
    return writer_.AddDirectory(archive_, name_, isKnown ? stat.modificationTime : os::WallSeconds());
  }

  ZipWriter& writer_;
  internal::ZipOutput& archive_;
  std::string path_;  // of the current directory, with a separator at its end
  std::string name_;  // and what its members' names begin with
  int levels_;        // still to go down; negative: all
  std::vector<bool> isEmpty_;
  bool complete_ = true;
};

bool ZipWriter::AddSubDir(void* zipHandle, const std::string& dir, const std::string& prefixInZip,
                          int levels) {
  if (IsExcluded(dir)) return true;
  internal::ZipOutput& archive = *static_cast<internal::ZipOutput*>(zipHandle);
  internal::OwnedTree tree;
  TreeAdder adder(*this, archive, dir, prefixInZip, levels);
  archive.SetInTree(true);
  if (const os::SystemError error = tree.Open(dir, os::Links::kFollow)) {
    adder.Failed({}, error);
  } else {
    internal::WalkTree(tree.Get(), adder);
  }
  archive.SetInTree(false);
  return adder.Finish();
}

}  // namespace du
