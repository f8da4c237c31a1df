// What the system knows about files and directories. Paths are UTF-8 and read as in os/file.h.
#ifndef LMKUTILS_OS_FILE_STATUS_H
#define LMKUTILS_OS_FILE_STATUS_H

#include <cstdint>

#include "lmkutils/os/file.h"
#include "lmkutils/os/system_error.h"

namespace os {

enum class EntryKind : std::uint8_t {
  kFile,       // has contents
  kDirectory,  // and no link to one
  kLink,       // a symbolic link, or a junction
  kOther,      // a pipe, a socket, a device
};

// Two entries are one file when theirs are equal, while somebody keeps it open.
struct FileIdentity {
  std::uint64_t volume = 0;
  std::uint64_t file = 0;
  bool operator==(const FileIdentity&) const noexcept = default;
};

struct FileStatus {
  EntryKind kind = EntryKind::kOther;
  std::uint32_t mode = 0;  // permission bits; made from the read-only attribute where the system has none
  std::uint64_t size = 0;  // bytes
  // In units of 100 ns since 1601-01-01 UTC. `created` is the last change of the entry's own data where the
  // system keeps no time of creation.
  std::uint64_t created = 0;
  std::uint64_t accessed = 0;
  std::uint64_t modified = 0;
  FileIdentity identity;
};

// The file that the path leads to, links followed; the entry itself, a link if it is one; an open file.
SystemError QueryStatus(const char* path, FileStatus* status) noexcept;
SystemError QueryEntryStatus(const char* path, FileStatus* status) noexcept;
SystemError QueryFileStatus(File file, FileStatus* status) noexcept;

// Times as in FileStatus; 0 leaves one as it is. The time of creation is passed over where it cannot be set.
SystemError SetTimes(const char* path, std::uint64_t created, std::uint64_t modified) noexcept;
SystemError SetFileTimes(File file, std::uint64_t created, std::uint64_t modified) noexcept;

// Permission bits as in FileStatus::mode.
SystemError SetFileMode(File file, std::uint32_t mode) noexcept;

// Lets the owner write, or nobody; where permissions are an attribute: takes read-only off, or sets it.
SystemError SetEntryWritable(const char* path, bool writable) noexcept;

// Whether this process may write to the file, or make entries in the directory; asked of the system without
// changing anything.
SystemError CheckWritable(const char* path) noexcept;

}  // namespace os

#endif
