#include "lmkutils/files/internal/zip_extraction.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/temporary_file.h"
#include "lmkutils/files/internal/zip_name.h"
#include "lmkutils/files/internal/zip_time.h"
#include "lmkutils/os/file_status.h"

namespace du::internal {
namespace {

constexpr std::size_t kBlock = 256 * 1024;
constexpr std::uint64_t kReserve = 64 * 1024 * 1024;  // at a time: what an archive claims may be wrong

bool Exists(os::SystemError error) noexcept {
  return error == os::kErrorAlreadyExists || error == os::kErrorFileExists;
}

// The file of a member of `size` bytes, removed again unless it is completed.
class NewFile {
 public:
  NewFile(os::Tree* tree, const std::string& name, std::uint64_t size)
      : tree_(tree), name_(name), size_(size) {}
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    file_.Close();
    if (!current_.empty()) os::TreeRemoveFile(tree_, current_);
  }

  // Under its own name when that is free: cheaper, and as good when all bytes are at hand.
  os::SystemError Create(bool atOnce) {
    os::File file = os::File::kNone;
    std::string name = name_;
    os::SystemError error = atOnce ? os::TreeCreateFile(tree_, name, &file) : os::kErrorFileExists;
    if (Exists(error)) error = CreateTemporary(tree_, "zip-", os::TreeCreateFile, &file, &name);
    if (error != os::kSuccess) return error;
    file_.Take(file);
    current_ = std::move(name);
    return error;
  }
  os::SystemError Write(const void* bytes, std::size_t size) noexcept {
    written_ += size;
    if (size_ > kBlock && written_ > reserved_ && reserved_ < size_)
      Reserve(std::min(size_ - reserved_, kReserve));
    return file_.Write(bytes, size);
  }
  os::SystemError Complete(std::int64_t modified) {
    if (const os::SystemError error = os::SetFileTimes(file_.Get(), 0, FileTimeOf(modified))) return error;
    if (const os::SystemError error = file_.Close()) return error;
    if (current_ != name_) {
      if (const os::SystemError error = os::TreeReplace(tree_, current_, name_)) return error;
    }
    current_.clear();
    return os::kSuccess;
  }

 private:
  void Reserve(std::uint64_t size) noexcept {
    os::ReserveRoom(file_.Get(), static_cast<std::int64_t>(reserved_), static_cast<std::size_t>(size));
    reserved_ += size;
  }

  os::Tree* const tree_;
  const std::string& name_;
  const std::uint64_t size_;
  std::uint64_t written_ = 0;
  std::uint64_t reserved_ = 0;
  OpenedFile file_;
  std::string current_;  // what it is called now, while there is one
};

}  // namespace

bool ZipExtraction::Open(const std::string& destination) {
  return (FileSystem::BuildPath(destination, false) &&
          tree_.Open(destination, os::Links::kFollow) == os::kSuccess && block_.Allocate(kBlock)) ||
         report_.Fail(ZipProblem::kCannotWriteFile, destination);
}

bool ZipExtraction::Run() {
  bool good = true;
  for (std::size_t i = 0; i < contents_.Entries().size() && !stopped_; ++i) {
    const ZipEntry& entry = contents_.Entries()[i];
    if (const auto& problem = contents_.ProblemOf(i)) {
      good = report_.Fail(*problem, entry.member.name);
    } else if (!ExtractEntry(entry)) {
      good = false;
    }
  }
  return good;
}

bool ZipExtraction::ExtractEntry(const ZipEntry& entry) {
  const std::string& name = entry.member.name;
  std::vector<std::string> parts;
  SplitMemberName(name, &parts);
  const std::size_t directories = parts.size() - (entry.member.isDirectory ? 0 : 1);
  if (const os::SystemError error = GoTo(parts, directories)) {
    const bool isInTheWay = error == os::kErrorDirectory || error == os::kErrorNotSameDevice;
    return report_.Fail(isInTheWay ? ZipProblem::kNoDirectory : ZipProblem::kCannotWriteFile, name);
  }
  if (entry.member.isDirectory) return Advance(name, 0);
  return entry.member.size <= kBlock ? ExtractShort(entry, parts.back()) : ExtractLong(entry, parts.back());
}

bool ZipExtraction::Advance(const std::string& name, std::uint64_t bytes) {
  if (!report_.Progress(name, bytes)) stopped_ = true;
  return !stopped_;
}

os::SystemError ZipExtraction::GoTo(const std::vector<std::string>& parts, std::size_t directories) {
  std::size_t common = 0;
  while (common < where_.size() && common < directories && where_[common] == parts[common]) ++common;
  for (; where_.size() > common; where_.pop_back()) {
    if (const os::SystemError error = os::TreeLeave(tree_.Get())) {
      stopped_ = true;
      return error;
    }
  }
  while (where_.size() < directories) {
    const std::string& name = parts[where_.size()];
    if (const os::SystemError error = EnterOrMake(name)) return error;
    where_.push_back(name);
  }
  return os::kSuccess;
}

// Made only when there is nothing: entering tells a link from a directory.
os::SystemError ZipExtraction::EnterOrMake(const std::string& name) {
  const os::SystemError error = os::TreeEnter(tree_.Get(), name);
  if (error != os::kErrorFileNotFound && error != os::kErrorPathNotFound) return error;
  const os::SystemError made = os::TreeMakeDirectory(tree_.Get(), name);
  return made == os::kSuccess || Exists(made) ? os::TreeEnter(tree_.Get(), name) : made;
}

// All of it is unpacked and checked before there is a file.
bool ZipExtraction::ExtractShort(const ZipEntry& entry, const std::string& name) {
  ZipInput& input = contents_.Input();
  const auto size = static_cast<std::size_t>(entry.member.size);
  const bool begun = input.BeginMember(entry);
  const std::ptrdiff_t count = begun ? input.Read(block_.Get(), size) : -1;
  if (!input.EndMember() || count < 0) return report_.Fail(ZipProblem::kDamaged, entry.member.name);
  NewFile file(tree_.Get(), name, entry.member.size);
  os::SystemError error = file.Create(true);
  if (error == os::kSuccess) error = file.Write(block_.Get(), size);
  if (error == os::kSuccess) error = file.Complete(entry.member.modified);
  if (error != os::kSuccess) return report_.Fail(ZipProblem::kCannotWriteFile, entry.member.name);
  return Advance(entry.member.name, size);
}

bool ZipExtraction::ExtractLong(const ZipEntry& entry, const std::string& name) {
  ZipInput& input = contents_.Input();
  NewFile file(tree_.Get(), name, entry.member.size);
  const std::string& member = entry.member.name;
  if (file.Create(false) != os::kSuccess) return report_.Fail(ZipProblem::kCannotWriteFile, member);
  std::ptrdiff_t count = input.BeginMember(entry) ? 0 : -1;
  while (count >= 0) {
    count = input.Read(block_.Get(), kBlock);
    if (count <= 0) break;
    const auto size = static_cast<std::size_t>(count);
    if (file.Write(block_.Get(), size) != os::kSuccess) {
      input.EndMember();
      return report_.Fail(ZipProblem::kCannotWriteFile, member);
    }
    if (!Advance(member, size)) break;
  }
  const bool isWhole = input.EndMember() && count >= 0;
  if (stopped_) return false;
  if (!isWhole) return report_.Fail(ZipProblem::kDamaged, member);
  return file.Complete(entry.member.modified) == os::kSuccess ||
         report_.Fail(ZipProblem::kCannotWriteFile, member);
}

}  // namespace du::internal
