#include "lmkutils/os/directory_tree.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealTreeEnter(Tree* tree, const std::string& name) noexcept;
SystemError RealTreeLeave(Tree* tree) noexcept;
SystemError RealTreeList(Tree* tree, std::vector<DirectoryEntry>* entries) noexcept;
SystemError RealTreeOpenForReading(Tree* tree, const std::string& name, File* file) noexcept;
SystemError RealTreeCreateFile(Tree* tree, const std::string& name, File* file) noexcept;
SystemError RealTreeCreatePrivateFile(Tree* tree, const std::string& name, File* file) noexcept;
SystemError RealTreeMakeDirectory(Tree* tree, const std::string& name) noexcept;
SystemError RealTreeRemoveFile(Tree* tree, const std::string& name) noexcept;
SystemError RealTreeRemoveDirectory(Tree* tree, const std::string& name) noexcept;
SystemError RealTreeReplace(Tree* tree, const std::string& from, const std::string& to) noexcept;

SystemError TreeEnter(Tree* tree, const std::string& name) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kTreeStep);
  return verdict.fail ? verdict.error : RealTreeEnter(tree, name);
}

SystemError TreeLeave(Tree* tree) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kTreeStep);
  return verdict.fail ? verdict.error : RealTreeLeave(tree);
}

SystemError TreeList(Tree* tree, std::vector<DirectoryEntry>* entries) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kTreeList);
  return verdict.fail ? verdict.error : RealTreeList(tree, entries);
}

SystemError TreeOpenForReading(Tree* tree, const std::string& name, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealTreeOpenForReading(tree, name, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError TreeCreateFile(Tree* tree, const std::string& name, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileCreate);
  if (!verdict.fail) return RealTreeCreateFile(tree, name, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError TreeCreatePrivateFile(Tree* tree, const std::string& name, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileCreate);
  if (!verdict.fail) return RealTreeCreatePrivateFile(tree, name, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError TreeMakeDirectory(Tree* tree, const std::string& name) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kDirectoryMake);
  return verdict.fail ? verdict.error : RealTreeMakeDirectory(tree, name);
}

SystemError TreeRemoveFile(Tree* tree, const std::string& name) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileRemove);
  return verdict.fail ? verdict.error : RealTreeRemoveFile(tree, name);
}

SystemError TreeRemoveDirectory(Tree* tree, const std::string& name) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kDirectoryRemove);
  return verdict.fail ? verdict.error : RealTreeRemoveDirectory(tree, name);
}

SystemError TreeReplace(Tree* tree, const std::string& from, const std::string& to) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileRename);
  return verdict.fail ? verdict.error : RealTreeReplace(tree, from, to);
}

}  // namespace os
