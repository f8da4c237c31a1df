// Operations on files and directories.
#ifndef LMKUTILS_FILES_FILE_SYSTEM_H
#define LMKUTILS_FILES_FILE_SYSTEM_H

#include <cstdint>
#include <cstdio>
#include <string>

#include "lmkutils/export.h"

// A header of Windows makes this name a macro. Callers that include it call CopyFileA or CopyFileW then,
// which are the same function here.
#pragma push_macro("CopyFile")
#undef CopyFile

namespace du {

class FileSpec;

// What FileSystem::Stat tells. Times are whole seconds since 1970-01-01 00:00:00 UTC.
struct FileStat {
  std::uint64_t size;         // bytes; 0 for what is no regular file
  std::int64_t creationTime;  // the last change of the entry itself where the system keeps no creation time
  std::int64_t modificationTime;
  std::int64_t accessTime;
  std::uint32_t mode;  // permission bits, as in octal 0644; on Windows made from the read-only attribute
  bool isDirectory;
  bool isRegularFile;
};

// Static operations on files and directories. All paths are UTF-8; '\' and '/' both separate. On Linux a
// leading "\\?\" is dropped, a drive letter means nothing. Texts that these operations return hold the
// separators of the target, since other libraries get them.
//
// Failures are told by the results: false, -1, the empty text, null. Nothing throws but std::bad_alloc. A
// null `const char*` is as an empty path; an empty path, one that is not UTF-8 and one with a NUL inside
// always fail, the latter two with a Warning. After a failure GetLastErrorCode, GetLastError of Windows and
// errno tell the system's reason. Operations that the plain path fails for try the long form of the path once
// more where the system has one (GenerateLongFilePath); the first reason stands.
//
// Any thread may call anything here. Changing the current directory changes it for all threads.
//
// Deletion is guarded: Unlink, Rmdir and DeletePath remove only what lies below a directory of the valid path
// list, unless they are forced. The list belongs to the process and begins empty.
class LMK_API FileSystem {
 public:
  static const unsigned MAX_TARGET_SIZE_FOR_SAVE = 255;  // the longest target path that a save may use
  static const unsigned TEMP_DIR_LENGTH = 13;            // characters of a generated name behind its prefix
  static const char* const s_longPathPrefix;             // "\\?\": lifts the limit of the length of a path
  static const wchar_t* const s_longPathPrefixW;

  enum ErrorCode {
    kNoError = 0,
    kOtherError = 1,
    kDiskFull = 2,
    kNotEnoughMemory = 3,
    kFileNotFound = 4,
    kAccessDenied = 5,
    kSharingViolation = 6,
  };
  // The calling thread's last system error. To be asked directly after the call that failed.
  static ErrorCode GetLastErrorCode() noexcept;

  // -- Existence and attributes. Links are followed.

  static bool FileExists(const char* path);  // anything but a directory
  static bool DirExists(const char* path);
  // Whether the file can be opened for reading now. False for a directory and for a pipe; never waits.
  static bool FileReadable(const char* path);
  // Whether this process may write to the file, or make entries in the directory. Changes nothing.
  static bool HasWritePermissions(const char* path);
  // Takes the read-only attribute off, or sets it; on Linux: lets the owner write, or nobody.
  static bool SetWritable(const char* path, bool writable);
  // In units of 100 ns since 1601-01-01 UTC; 0 leaves that time as it is. The creation time is ignored on
  // Linux, where it cannot be set.
  static bool SetFileTime(const char* path, std::uint64_t creation, std::uint64_t modification);
  // 0 and `*stat` filled, or -1.
  static int Stat(const char* path, FileStat* stat);

  // -- Directories and files. 0 or -1 where the result is an int.

  static int Chdir(const char* path);
  // Makes the last directory of the path; -1 when anything of that name exists.
  static int Mkdir(const char* path);
  // Removes an empty directory (Rmdir) or a file (Unlink). Without `force` only what the valid path list
  // permits. A link is removed itself. A root (a drive, a share, "/") is refused even by force.
  static int Rmdir(const char* path, bool force);
  static int Unlink(const char* path, bool force);
  // Removes a directory with all that is in it; without `force` only when the valid path list permits it, and
  // each directory that is gone then leaves the list. Links are removed, never followed, also when `path` is
  // one; what is mounted below is left alone and counts as a failure. Each entry that cannot be deleted is
  // traced as an Error, and the rest is deleted all the same. True when the directory is gone.
  static bool DeletePath(const std::string& path, bool force);
  // Fails when the target exists, on every target.
  static bool RenameFile(const char* from, const char* to);
  // Copies contents, times and mode. The target is replaced in one step at the end: after any failure it is
  // what it was before. Fails when both are the same file, and for anything but a regular file (a link to one
  // is followed).
  static bool CopyFile(const char* from, const char* to);
  static bool CopyFileA(const char* from, const char* to) { return CopyFile(from, to); }
  static bool CopyFileW(const char* from, const char* to) { return CopyFile(from, to); }
  // Copies a directory with all that is in it to `to`, which is made when it is missing; files there are
  // replaced as CopyFile does. Goes on after a failure, and tells by false that one was traced. Links to
  // files are copied as files; links to directories, pipes and devices are not copied and count as
  // failures. A target inside of the source is refused.
  static bool CopyDirectory(const char* from, const char* to);
  // Makes every missing directory of the path; the last name is that of a file, for which no directory is
  // made, when `isFile`. True when all are there.
  static bool BuildPath(const std::string& path, bool isFile);
  // Copies the file to PATH.~1, after moving PATH.~1 to PATH.~2 and so on; what lies beyond `count` is
  // removed. Stops at the first failure, before anything is overwritten. True with nothing done when `count`
  // is below 1, and for a path whose next-to-last character is '~', which is a backup itself.
  static bool BackupFile(const std::string& path, int count);
  // Whether both can be read and hold the same bytes; the second takes CR LF as LF.
  static bool CompareBinaryFiles(const char* left, const char* right);
  static bool CompareTextFiles(const char* left, const char* right);

  // -- Paths

  static std::string GetCurDir(bool withTrailingSeparator);
  // A relative path behind the current directory; an absolute one as it is. Where paths have drives, one
  // without (`\x`) gets the current one, and `C:x` is put behind that drive's own current directory.
  static std::string MakePathAbsolute(const char* path);
  // The variables "HomeDrive" and "HomePath", joined; where neither is set, "HOME" on Linux.
  static std::string GetHomeDir();
  // The user's folder for documents, as the desktop has it.
  static std::string GetDocumentsDir();
  // The variable "LUMORA_TEMP", else the system's folder for temporary files.
  static std::string GetTempDir(bool withTrailingSeparator);
  // Make a directory of a new name that begins with `prefix`, for this user alone, and return its path. In
  // GetTempDir, or in `parent`. Empty after 32 attempts. A prefix with a separator is refused.
  static std::string MkTempDir(const char* prefix);
  static std::string MkTempDir(const char* parent, const char* prefix);
  // Makes an empty file of a new name in `dir` (null or empty: GetTempDir), for this user alone; `extension`
  // is without the '.'. Empty after a failure, or after 32 names that existed.
  static std::string MkTempFile(const char* dir, const char* prefix, const char* extension);

  // The form that lifts the limit of the length of a path: "\\?\C:\a\b"; a directory's ends in '\'. UNC
  // paths, relative ones below 260 UTF-16 units, and what begins with "\\?\" or "\\.\" come back as they are.
  // Others are made absolute, "." and ".." resolved.
  static std::string GenerateLongFilePath(const std::string& path, bool isFile);
  static std::wstring GenerateLongFilePath(const std::wstring& path, bool isFile);
  // The 8.3 alias of an existing file; the path itself where the system knows none. Empty on failure.
  static std::string GetShortPath(const std::string& path);
  static std::wstring GetShortPath(const std::wstring& path);
  // The path for libraries that take narrow paths of the system's code page: itself when it is ASCII, else
  // its 8.3 alias. *ok, if not null, is whether that worked; the path is returned as it is when not.
  static std::string GetBestNativePath(const std::string& path, bool* ok);
  // Replaces $(NAME) or $NAME at the start of the path (up to a separator) by the variable's value. True also
  // when there is none to replace. False, and the path as it was, when the variable is not set or empty.
  static bool PreProcessEnvVarInPath(std::string& path);
  // The file's bytes in Base64 (RFC 4648, section 4), without line breaks; empty for a file that is empty or
  // cannot be read.
  static std::string GetFileAsBase64(const std::string& path);

  // -- Names: \ / : * ? " < > | are forbidden in a part of a path on every target.

  static bool ContainsForbiddenChars(const std::string& name);
  // Whether any directory or the file has one.
  static bool ContainsForbiddenChars(const FileSpec& spec);
  // Each forbidden character as `replacement`; taken out when that is NUL.
  static std::string RemoveForbiddenChars(const std::string& name, char replacement);
  // Each forbidden character as '_'. With `keepSeparators` '\', '/' and the ':' of a drive stay, so that a
  // whole path can be given.
  static std::string ReplaceForbiddenChars(const std::string& name, bool keepSeparators);
  // As ReplaceForbiddenChars, and in addition what file systems reserve: control characters, a '.' or blank
  // at the end of a name become '_', and a name that is a device of Windows (con, nul, com1, ...), alone or
  // before a '.', gets a '_' behind the device.
  static std::string ReplaceReservedChars(const std::string& name, bool keepSeparators);

  // -- Kinds of files, by their contents

  static bool IsFileBinary(std::string path);  // begins with 05 06 13 or, a compound document, D0 CF 11
  static bool IsFileLms(std::string path);     // begins with "LM-LMS"
  // No byte of 128 or more. False for what cannot be read, true for an empty file.
  static bool IsFileTypeAscii(std::string path);

  // -- The valid path list: below which directories files may be deleted

  // Registers a directory. Its path must end in a separator if its name has a '.': otherwise it is taken for
  // a file's, and the directory that it lies in is registered! Refused: a root, a path without drive that is
  // not absolute, the characters * ? " < > |. True also when the list has it.
  static bool AddValidPath(const char* path);
  // The same text as was added; false when it is not in the list.
  static bool RemoveValidPath(const char* path);
  // Whether the text of an entry, of at most this depth, occurs anywhere in the path; on Linux at its start.
  // A path with ".." is resolved first.
  static bool IsInValidPathsList(const char* path);

  // -- Opening. Never inherited by child processes. Mode and flags are those of the run-time library's fopen
  // and open, which the last two differ from by UTF-8, long paths and this only.

  // Null on failure. The caller closes it by std::fclose.
  static std::FILE* lmfopen(const char* path, const char* mode);
  static std::FILE* lmfopen(const std::string& path, const char* mode);
  // 0, or an error number of errno and null in `*file`.
  static int lmfopen_s(std::FILE** file, const char* path, const char* mode);
  static int lmfopen_s(std::FILE** file, const std::string& path, const char* mode);
  // A descriptor of the run-time library, or -1. `mode` is the mode of a file that is made.
  static int lmopen(const char* path, int flags, int mode);
  static int lmopen(const std::string& path, int flags, int mode);
};

}  // namespace du

#pragma pop_macro("CopyFile")

#endif
