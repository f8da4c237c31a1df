#include "lmkutils/os/fault/directory.h"

#include <utility>

#include "lmkutils/os/directory.h"
#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealCurrentDirectory(std::string& out) noexcept;
SystemError RealMakeDirectory(const char* path, DirectoryAccess access) noexcept;
SystemError RealRemoveEmptyDirectory(const char* path) noexcept;

namespace fault {
namespace {
constinit PretendCurrentDirectory* pretended = nullptr;
}  // namespace

PretendCurrentDirectory::PretendCurrentDirectory(std::string path, SystemError error)
    : path_(std::move(path)), error_(error) {
  pretended = this;
}

PretendCurrentDirectory::~PretendCurrentDirectory() {
  pretended = nullptr;
}

SystemError AnswerCurrentDirectory(std::string& out) {
  if (!pretended) return RealCurrentDirectory(out);
  ++pretended->asked_;
  out = pretended->error_ == 0 ? pretended->path_ : std::string();
  return pretended->error_;
}

}  // namespace fault

SystemError CurrentDirectory(std::string& out) noexcept {
  return fault::AnswerCurrentDirectory(out);
}

SystemError MakeDirectory(const char* path, DirectoryAccess access) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kDirectoryMake);
  return verdict.fail ? verdict.error : RealMakeDirectory(path, access);
}

SystemError RemoveEmptyDirectory(const char* path) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kDirectoryRemove);
  return verdict.fail ? verdict.error : RealRemoveEmptyDirectory(path);
}

}  // namespace os
