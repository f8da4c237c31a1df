#include "lmkutils/files/find_file.h"

#include <utility>

#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/files/internal/path_text.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/files/internal/wildcard.h"
#include "lmkutils/os/directory_tree.h"
#include "lmkutils/os/name_case.h"
#include "lmkutils/text/encoding.h"
#include "lmkutils/text/symbol.h"

#undef FindFirstFileName

namespace du {
namespace {

constexpr std::string_view kEverything = "*";

std::string NamePattern(const std::string& pattern) {
  std::string name = pattern.substr(internal::LastNameStart(pattern));
  return name == "*.*" ? std::string(kEverything) : os::FoldName(std::move(name));
}

// Names that would come back as other ones: no path can hold them.
bool IsExpressible(const std::string& name) {
  if (name.find_first_of(internal::kSeparators) == std::string::npos && CheckUtf8(name)) return true;
  internal::Trace(dp::TraceType::Warning, "The entry \"%s\" has a name that no path can hold", name.c_str());
  return false;
}

FindFile::EntryType TypeOf(os::EntryKind kind) {
  switch (kind) {
    case os::EntryKind::kFile:
      return FindFile::FILE_ENTRY;
    case os::EntryKind::kDirectory:
      return FindFile::DIRECTORY_ENTRY;
    case os::EntryKind::kLink:
      return FindFile::LINK_ENTRY;
    default:
      return FindFile::OTHER_ENTRY;
  }
}

}  // namespace

FindFile::~FindFile() {
  Close();
}

void FindFile::Close() noexcept {
  os::ListingClose(std::exchange(listing_, nullptr));
}

const FileSpec& FindFile::FindFirstFileName(const char* pattern, TypeConstraint constraint) {
  return FindFirstFileName(std::string(internal::TextOf(pattern)), constraint);
}

const FileSpec& FindFile::FindFirstFileName(const Symbol& pattern, TypeConstraint constraint) {
  return FindFirstFileName(pattern.c_str(), constraint);
}

const FileSpec& FindFile::FindFirstFileName(const std::string& pattern, TypeConstraint constraint) {
  Close();
  result_.clear();
  entryType_ = NO_ENTRY;
  pattern_ = pattern;
  constraint_ = constraint;
  namePattern_ = NamePattern(pattern);
  return !namePattern_.empty() && Open(pattern) ? GetNextFileName() : result_;
}

const FileSpec& FindFile::FindFirstFileNameW(const char* pattern, TypeConstraint constraint) {
  return FindFirstFileName(pattern, constraint);
}

const FileSpec& FindFile::FindFirstFileNameW(const std::string& pattern, TypeConstraint constraint) {
  return FindFirstFileName(pattern, constraint);
}

const FileSpec& FindFile::FindFirstFileNameW(const Symbol& pattern, TypeConstraint constraint) {
  return FindFirstFileName(pattern, constraint);
}

// The directory is the caller's text, not a rebuilt one.
bool FindFile::Open(const std::string& pattern) {
  return internal::TryPath(internal::FolderOf(pattern), false, [this](const char* form) {
           return os::ListingOpen(form, &listing_);
         }) == os::kSuccess;
}

bool FindFile::Accepts(const std::string& name, bool isDirectory) const {
  if (constraint_ != ANY_TYPE && (constraint_ == DIRECTORIES_ONLY) != isDirectory) return false;
  return namePattern_ == kEverything || internal::MatchesWildcards(namePattern_, os::FoldName(name));
}

// A '.' at the end of a name would be taken for that of an empty extension, and lost.
void FindFile::SetResult(const std::string& name) {
  result_ = pattern_;
  result_.SetFile(name);
  if (name.ends_with('.')) {
    result_.SetFileBaseName(name);
    result_.SetFileExtension({});
  }
}

const FileSpec& FindFile::GetNextFileName() {
  os::DirectoryEntry entry;
  while (listing_ != nullptr && os::ListingNext(listing_, &entry)) {
    const bool isDirectory = entry.kind == os::EntryKind::kDirectory ||
                             (entry.kind == os::EntryKind::kLink && constraint_ != ANY_TYPE &&
                              os::ListingLeadsToDirectory(listing_, entry.name));
    if (!Accepts(entry.name, isDirectory) || !IsExpressible(entry.name)) continue;
    SetResult(entry.name);
    entryType_ = TypeOf(entry.kind);
    return result_;
  }
  Close();
  result_.clear();
  entryType_ = NO_ENTRY;
  return result_;
}

}  // namespace du
