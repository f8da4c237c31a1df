// A lock between processes: a directory that one of them makes.
#ifndef LMKUTILS_FILES_FILE_SYSTEM_LOCK_H
#define LMKUTILS_FILES_FILE_SYSTEM_LOCK_H

#include <string>

#include "lmkutils/export.h"

namespace du {

// Who makes the directory (UTF-8 path) has the lock until it removes it. Works on every file system, between
// machines too; but a process that dies with the lock leaves the directory behind, and somebody has to remove
// it by hand.
//
// The directory must lie in the valid path list (FileSystem::AddValidPath) when the lock is released: it can
// be obtained elsewhere, but not released. One that this object did not make is never removed. Coordinates
// processes, not threads; owned by one thread at a time. Failures are told by the results and traced under
// "FileSystemLock"; nothing throws but std::bad_alloc.
class LMK_API FileSystemLock {
 public:
  FileSystemLock() noexcept = default;  // not bound
  // Binds, and tries to obtain the lock at once: see operator bool.
  FileSystemLock(const char* path, unsigned retries, unsigned pauseSeconds);
  FileSystemLock(const FileSystemLock&) = delete;
  FileSystemLock& operator=(const FileSystemLock&) = delete;
  ~FileSystemLock();  // releases; without memory for it the directory is left behind

  // Releases a held lock and binds the object to another directory: after a first attempt `retries` more,
  // `pauseSeconds` apart. False, and the object as it was, when the held lock cannot be released.
  bool BindLock(const char* path, unsigned retries, unsigned pauseSeconds);

  // True when the lock is held then, also when it was before; false when not bound.
  bool ObtainLock();
  // True when the lock is not held any more, and was bound. A release that fails leaves it held.
  bool ReleaseLock();

  explicit operator bool() const noexcept { return state_ == State::kHeld; }

 private:
  enum class State { kUnbound = 0, kBound = 1, kHeld = 2 };

  std::string path_;
  unsigned retries_ = 0;
  unsigned pauseSeconds_ = 0;
  State state_ = State::kUnbound;
};

// Releases a lock at the end of a scope; does not obtain it. The lock outlives the holder.
class LMK_API FileSystemLockHolder {
 public:
  // Null holds nothing.
  explicit FileSystemLockHolder(FileSystemLock* lock) noexcept : lock_(lock) {}
  FileSystemLockHolder(const FileSystemLockHolder&) = delete;
  FileSystemLockHolder& operator=(const FileSystemLockHolder&) = delete;
  ~FileSystemLockHolder();

 private:
  FileSystemLock* const lock_;
};

}  // namespace du

#endif
