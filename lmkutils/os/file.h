// Files of the system: the primitives. Paths are UTF-8; on Linux '\' counts as '/' and a leading "\\?\" is
// dropped. Results are 0 or a number of os/system_error.h.
#ifndef LMKUTILS_OS_FILE_H
#define LMKUTILS_OS_FILE_H

#include <cstddef>
#include <cstdint>

#include "lmkutils/os/system_error.h"

namespace os {

// An open file; whoever opened it closes it.
enum class File : std::intptr_t { kNone = -1 };

// Creates the file or empties it, for writing at its end, whoever else writes to it. Other processes may
// read, write and delete it meanwhile; children do not inherit it. On failure *file is kNone.
SystemError OpenForAppending(const char* path, File* file) noexcept;

// Opens an existing file for reading; everything but a file with contents (a directory, a pipe, a device) is
// kErrorAccessDenied, and nothing is waited for.
SystemError OpenForReading(const char* path, File* file) noexcept;

// Opens an existing file with contents for reading and writing, from its beginning; others may read it
// meanwhile.
SystemError OpenForChanging(const char* path, File* file) noexcept;

// Makes a new, empty file for reading and writing, which only this user can open; where the system has share
// modes, nobody at all until it is closed. kErrorAlreadyExists or kErrorFileExists for any entry of that
// name, also for a link that leads nowhere.
SystemError CreatePrivateFile(const char* path, File* file) noexcept;

// One read call, repeated only when it was interrupted before anything was read. *count is how many bytes
// came, fewer than `size` also on success; 0 on success is the end of the file.
SystemError ReadOnce(File file, void* data, std::size_t size, std::size_t* count) noexcept;

// One write call, repeated only when it was interrupted before anything was written. *written is how many
// bytes were taken, fewer than `size` also on success.
SystemError WriteOnce(File file, const void* data, std::size_t size, std::size_t* written) noexcept;

// Asks for room on the disk for `size` bytes from `position` on, which a large write then need not find block
// by block. The file's size and contents stay. Only a hint: a system that has no such call does nothing.
void ReserveRoom(File file, std::int64_t position, std::size_t size) noexcept;

enum class SeekFrom { kStart, kCurrent, kEnd };
// Moves the position of the next read or write, also beyond the end; *position, which may be null, is the new
// one, from the start. Fails for what has no positions (pipes).
SystemError SeekFile(File file, std::int64_t offset, SeekFrom from, std::int64_t* position) noexcept;

// Cuts the file, or extends it by zeros. Where the next read or write would be is not told afterwards.
SystemError ResizeFile(File file, std::int64_t size) noexcept;

// Has the system bring what was written to the disk.
SystemError FlushFile(File file) noexcept;

// The file is gone whatever the result; an error tells that earlier writes may be lost. kNone does nothing.
SystemError CloseFile(File file) noexcept;

// Removes a file, or a link itself; not a directory.
SystemError RemoveFile(const char* path) noexcept;

// Gives a file or directory another name; fails when an entry has that already.
SystemError RenameEntry(const char* from, const char* to) noexcept;

// True for an existing file that is neither a directory nor a device.
bool IsRegularFile(const char* path) noexcept;

}  // namespace os

#endif
