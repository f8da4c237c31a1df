#include "lmkutils/os/directory_tree.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <new>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lmkutils/os/posix/file_status_of.h"
#include "lmkutils/os/posix/native_path.h"
#include "lmkutils/os/posix/regular_file.h"

namespace os {

// Where it came from is kept as identities, not as open descriptors, of which a process has too few for a
// deep tree: ".." leads back, and the identity proves that it led where it should. Only out of a directory
// that may not be passed ".." leads nowhere; nothing below it was entered then, so that one descriptor does.
struct Tree {
  int directory = -1;  // O_PATH: to enter and change it takes no right to read it
  int parent = -1;     // of the directory that was entered last, until it is left
  FileIdentity identity;
  std::vector<FileIdentity> above;

  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree() {
    if (directory >= 0) close(directory);
    if (parent >= 0) close(parent);
  }
};

struct Listing {
  explicit Listing(DIR* stream) noexcept : directory(stream) {}
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;
  ~Listing() { closedir(directory); }

  DIR* const directory;
};

namespace {

constexpr int kToPass = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int kToRead = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// What is no directory is told the same way as a link that was not followed.
SystemError EnterError() noexcept {
  return errno == ENOTDIR || errno == ELOOP ? kErrorDirectory : LastSystemError();
}

SystemError IdentityOf(int descriptor, FileIdentity& identity) noexcept {
  struct stat status;
  if (fstat(descriptor, &status) != 0) return LastSystemError();
  identity = posix::IdentityOf(status);
  return kSuccess;
}

// Makes `descriptor` the current directory of the tree, and `parent`, or none, the one to go back to.
void MoveTo(Tree* tree, int descriptor, const FileIdentity& identity, int parent) noexcept {
  if (tree->directory != parent) close(tree->directory);
  if (tree->parent >= 0 && tree->parent != descriptor) close(tree->parent);
  tree->directory = descriptor;
  tree->identity = identity;
  tree->parent = parent;
}

bool IsStep(const char* name) noexcept {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

EntryKind KindOfEntry(DIR* directory, const dirent& entry) noexcept {
  switch (entry.d_type) {
    case DT_REG:
      return EntryKind::kFile;
    case DT_DIR:
      return EntryKind::kDirectory;
    case DT_LNK:
      return EntryKind::kLink;
    case DT_UNKNOWN:  // of file systems that do not keep it with the name
      break;
    default:
      return EntryKind::kOther;
  }
  struct stat status;
  if (fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) return EntryKind::kOther;
  return posix::KindOf(status.st_mode);
}

// The next entry; false at the end (errno is 0) and on failure. Throws std::bad_alloc.
bool ReadEntry(DIR* directory, DirectoryEntry& entry) {
  for (;;) {
    errno = 0;
    const dirent* const found = readdir(directory);
    if (found == nullptr) return false;
    if (IsStep(found->d_name)) continue;
    entry.name = found->d_name;
    entry.kind = KindOfEntry(directory, *found);
    return true;
  }
}

SystemError ResultOf(int result) noexcept {
  return result == 0 ? kSuccess : LastSystemError();
}

constexpr mode_t kForOwner = S_IRUSR | S_IWUSR;
constexpr mode_t kForEverybody = 0666;  // but whom the umask forbids it

int OpenBelow(const Tree* tree, const std::string& name, int flags, mode_t mode) noexcept {
  int descriptor;
  do {
    descriptor = openat(tree->directory, name.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

SystemError CreateBelow(const Tree* tree, const std::string& name, mode_t mode, File* file) noexcept {
  const int descriptor = OpenBelow(tree, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
  *file = static_cast<File>(descriptor);
  return descriptor >= 0 ? kSuccess : LastSystemError();
}

// Also where a directory of the same file system is mounted.
bool IsMountPoint(int descriptor) noexcept {
  struct statx status;
  return statx(descriptor, "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
         (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

}  // namespace

SystemError TreeOpen(const char* path, Links links, Tree** tree) noexcept {
  *tree = nullptr;
  try {
    auto opened = std::make_unique<Tree>();
    // A separator at the end would have the system follow a link.
    std::string native = posix::NativePath(path);
    while (links == Links::kRefuse && native.size() > 1 && native.ends_with('/')) native.pop_back();
    opened->directory = open(native.c_str(), kToPass | (links == Links::kRefuse ? O_NOFOLLOW : 0));
    if (opened->directory < 0) return EnterError();
    if (const SystemError error = IdentityOf(opened->directory, opened->identity)) return error;
    *tree = opened.release();
    return kSuccess;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

void TreeClose(Tree* tree) noexcept {
  delete tree;
}

FileIdentity TreeIdentity(const Tree* tree) noexcept {
  return tree->identity;
}

SystemError TreeList(Tree* tree, std::vector<DirectoryEntry>* entries) noexcept {
  entries->clear();
  const int descriptor = openat(tree->directory, ".", kToRead);
  if (descriptor < 0) return LastSystemError();
  DIR* const stream = fdopendir(descriptor);
  if (stream == nullptr) {
    const SystemError error = LastSystemError();
    close(descriptor);
    return error;
  }
  const Listing listing(stream);
  try {
    DirectoryEntry entry;
    while (ReadEntry(stream, entry)) entries->push_back(std::move(entry));
    return errno == 0 ? kSuccess : LastSystemError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError TreeEnter(Tree* tree, const std::string& name) noexcept {
  try {
    tree->above.reserve(tree->above.size() + 1);
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
  const int below = openat(tree->directory, name.c_str(), kToPass | O_NOFOLLOW);
  if (below < 0) return EnterError();
  FileIdentity identity;
  SystemError error = IdentityOf(below, identity);
  const bool otherVolume = identity.volume != tree->identity.volume || IsMountPoint(below);
  if (error == kSuccess && otherVolume) error = kErrorNotSameDevice;
  if (error != kSuccess) {
    close(below);
    return error;
  }
  tree->above.push_back(tree->identity);
  MoveTo(tree, below, identity, tree->directory);
  return kSuccess;
}

SystemError TreeLeave(Tree* tree) noexcept {
  if (tree->above.empty()) return kErrorInvalidParameter;
  int parent = openat(tree->directory, "..", kToPass);
  if (parent < 0 && errno == EACCES) parent = tree->parent;
  if (parent < 0) return EnterError();
  FileIdentity identity;
  SystemError error = IdentityOf(parent, identity);
  if (error == kSuccess && identity != tree->above.back()) error = kErrorPathNotFound;
  if (error != kSuccess) {
    if (parent != tree->parent) close(parent);
    return error;
  }
  tree->above.pop_back();
  MoveTo(tree, parent, identity, -1);
  return kSuccess;
}

SystemError TreeOpenForReading(Tree* tree, const std::string& name, File* file) noexcept {
  return posix::KeepRegular(OpenBelow(tree, name, O_RDONLY | O_NONBLOCK, 0), file);
}

SystemError TreeCreateFile(Tree* tree, const std::string& name, File* file) noexcept {
  return CreateBelow(tree, name, kForEverybody, file);
}

SystemError TreeCreatePrivateFile(Tree* tree, const std::string& name, File* file) noexcept {
  return CreateBelow(tree, name, kForOwner, file);
}

SystemError TreeMakeDirectory(Tree* tree, const std::string& name) noexcept {
  return ResultOf(mkdirat(tree->directory, name.c_str(), 0777));
}

SystemError TreeRemoveFile(Tree* tree, const std::string& name) noexcept {
  return ResultOf(unlinkat(tree->directory, name.c_str(), 0));
}

SystemError TreeRemoveDirectory(Tree* tree, const std::string& name) noexcept {
  return ResultOf(unlinkat(tree->directory, name.c_str(), AT_REMOVEDIR));
}

SystemError TreeReplace(Tree* tree, const std::string& from, const std::string& to) noexcept {
  return ResultOf(renameat(tree->directory, from.c_str(), tree->directory, to.c_str()));
}

SystemError ListingOpen(const char* path, Listing** listing) noexcept {
  *listing = nullptr;
  try {
    DIR* const stream = opendir(posix::NativePath(path).c_str());
    if (stream == nullptr) return LastSystemError();
    *listing = new (std::nothrow) Listing(stream);
    if (*listing != nullptr) return kSuccess;
    closedir(stream);
  } catch (const std::exception&) {
  }
  return kErrorNotEnoughMemory;
}

bool ListingNext(Listing* listing, DirectoryEntry* entry) noexcept {
  try {
    return ReadEntry(listing->directory, *entry);
  } catch (const std::exception&) {
    return false;
  }
}

bool ListingLeadsToDirectory(const Listing* listing, const std::string& name) noexcept {
  struct stat status;
  return fstatat(dirfd(listing->directory), name.c_str(), &status, 0) == 0 && S_ISDIR(status.st_mode);
}

void ListingClose(Listing* listing) noexcept {
  delete listing;
}

}  // namespace os
