// Making zip archives.
#ifndef LMKUTILS_FILES_ZIP_WRITER_H
#define LMKUTILS_FILES_ZIP_WRITER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lmkutils/export.h"

namespace du {

class ZipObserver;

namespace internal {
class OpenedFile;
class ZipOutput;
struct ZipMemberHeader;
}  // namespace internal

// Packs files and directory trees into a zip archive. docs/zip.md tells what the archives are like.
//
//   du::ZipWriter writer("parts.zip");
//   writer.ExcludeDirPath("parts/cache");
//   if (!writer.AddAllFilesFromDir("parts", du::ZipWriter::ZIP_APPEND_STATUS_CREATE, true)) ...
//
// A value that holds the archive's path, what is excluded, and nothing open: copies are independent.
// Different threads may use different writers; two at a time must not write to one archive.
//
// All paths are UTF-8. Operations return false after a failure, which is traced under "ZipWriter"; nothing
// throws.
//
// A new archive is made beside the old one of its name and takes its place when it is complete. An archive
// that is added to is changed where it is; when that fails it is put back as it was. Either way it stays
// readable, unless the process is killed while it is added to.
//
// The environment variable LUMORA_DISABLE_64BIT_ZIP, set to whatever value when the archive is opened, makes
// archives without the 64-bit extension: files and archives of 4 GiB, and the 65,535th member, are refused.
class LMK_API ZipWriter {
 public:
  // How an archive is opened. The numbers are minizip's.
  enum ZIP_APPEND_STATUS {
    ZIP_APPEND_STATUS_CREATE = 0,       // a new archive in place of an old one
    ZIP_APPEND_STATUS_CREATEAFTER = 1,  // a new one behind the bytes of an existing file
    ZIP_APPEND_STATUS_ADDINZIP = 2,     // more members in an existing archive
  };

  class FileAdder;

  explicit ZipWriter(const std::string& archivePath);
  ZipWriter(const ZipWriter& other);
  ZipWriter& operator=(const ZipWriter& other);
  virtual ~ZipWriter();

  const std::string& GetName() const noexcept { return path_; }

  // Opens the archive, adds one file and closes it. The member is named like the file, without its
  // directories, or by `nameInZip`: UTF-8, '/' between directories, relative, without "." and "..".
  // Members have the file's modification time in UTC, to two seconds, between 1980 and 2107. Files of the
  // product's own packed formats (lmz, qdz, qo, lms) are stored, all others deflated. A name that the archive
  // has already is refused. Links are followed.
  bool AddFile(const std::string& path, ZIP_APPEND_STATUS status);
  bool AddFile(const std::string& path, const std::string& nameInZip, ZIP_APPEND_STATUS status);

  // Adds the files of a directory under their paths relative to it; with `recurse` also those of all
  // directories below, empty ones as members of their own. Links to directories are not entered, and the
  // archive itself is passed over. A file that cannot be added does not keep the others out, but makes the
  // result false.
  bool AddAllFilesFromDir(const std::string& dir, ZIP_APPEND_STATUS status, bool recurse);

  // Files left out from now on without a word: this one, or all in and below a directory. Paths are compared
  // as text, after they were made absolute and rid of "." and "..". Empty ones are ignored.
  void ExcludeFile(const std::string& path);
  void ExcludeDirPath(const std::string& path);

  // Who follows the work, also of a FileAdder that is made from now on; null for nobody. Not owned.
  void SetObserver(ZipObserver* observer) noexcept { observer_ = observer; }

 private:
  class TreeAdder;
  struct Failure;

  std::unique_ptr<internal::ZipOutput> Open(ZIP_APPEND_STATUS status);
  bool Close(internal::ZipOutput& archive);
  bool IsExcluded(const std::string& path) const;
  bool Fail(internal::ZipOutput& archive, const Failure& failure, const std::string& path) const;
  bool AddSubDir(void* zipHandle, const std::string& dir, const std::string& prefixInZip, int levels);
  bool AddDirectory(internal::ZipOutput& archive, const std::string& nameInZip, std::int64_t modified);
  bool WriteInFileInZip(const std::string& path, void* zipHandle);
  bool WriteInFileInZip(const std::string& path, const std::string& nameInZip, void* zipHandle);
  bool CopyBytes(internal::OpenedFile& source, const internal::ZipMemberHeader& header,
                 internal::ZipOutput& archive, const std::string& path);
  static void TraceErrorCode(int code, const std::string& what);

  std::string path_;
  std::vector<std::string> excludedFiles_;
  std::vector<std::string> excludedDirs_;
  ZipObserver* observer_ = nullptr;
};

// Adds many files to an archive that is opened once. Owned by one thread, and outlived by its writer, whose
// exclusions apply.
class LMK_API ZipWriter::FileAdder {
 public:
  FileAdder(ZipWriter& writer, ZIP_APPEND_STATUS status);
  FileAdder(const FileAdder&) = delete;
  FileAdder& operator=(const FileAdder&) = delete;
  // Closes the archive.
  ~FileAdder();

  // Whether the archive could be opened; nothing can be added otherwise.
  bool GetOpenStatus() const noexcept { return openStatus_; }
  // As ZipWriter::AddFile.
  bool AddFile(const std::string& path, const std::string& nameInZip);
  // As ZipWriter::AddAllFilesFromDir; the members' names begin with `prefixInZip`, which ends in '/' or is
  // empty. A directory without files becomes a member of that name.
  bool AddAllFilesFromDir(const std::string& dir, const std::string& prefixInZip, bool recurse);

  // Completes the archive. False when that failed, or one was never open; an archive is then what it was
  // before. So it is when files were to be added and none could be.
  bool Close();
  // Gives up what was added: the archive is what it was before.
  void Abandon() noexcept;

 private:
  ZipWriter& writer_;
  std::unique_ptr<internal::ZipOutput> archive_;
  bool openStatus_;
};

}  // namespace du

#endif
