// An archive while it is written.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_OUTPUT_H
#define LMKUTILS_FILES_INTERNAL_ZIP_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

#include <zip.h>

#include "lmkutils/files/internal/tree_walk.h"
#include "lmkutils/files/internal/zip_stream.h"
#include "lmkutils/os/file_status.h"

namespace du::internal {

// What is to be written of one member before its bytes.
struct ZipMemberHeader {
  const std::string& name;
  std::int64_t modified;   // seconds since 1970
  std::uint64_t size = 0;  // as far as it is known
  int level = Z_DEFAULT_COMPRESSION;
};

// minizip's archive, over the file that it goes to: a temporary one beside the path for a new archive, the
// archive itself for an older one. Until Close has succeeded nothing that was there is lost.
class ZipOutput {
 public:
  explicit ZipOutput(const std::string& path);
  ZipOutput(const ZipOutput&) = delete;
  ZipOutput& operator=(const ZipOutput&) = delete;
  ~ZipOutput() { Abandon(); }

  // `append` is minizip's APPEND_STATUS_...
  bool Open(int append);
  // The reason for a failure to open or to write.
  os::SystemError Error() const noexcept;

  const std::string& Path() const noexcept { return path_; }
  // Whether that is the archive, the old one or the one that is being made.
  bool IsOwnFile(const os::FileIdentity& file) const noexcept;
  // While the files of a directory are added, which need not all be meant.
  void SetInTree(bool inTree) noexcept { inTree_ = inTree; }
  bool IsInTree() const noexcept { return inTree_; }
  // Whether the name is taken, and the member fits when Zip64 is off.
  bool HasName(const std::string& name) const;
  bool HasRoomFor(const ZipMemberHeader& header) const noexcept;
  bool UsesZip64() const noexcept { return usesZip64_; }

  // Each minizip's result. BeginMember of a name that ends in '/' makes a member without bytes.
  int BeginMember(const ZipMemberHeader& header);
  int Write(const void* bytes, std::size_t size) noexcept;
  int EndMember() noexcept;
  // To be told of each file that was added, or could not be: an archive of nothing but failures is none.
  void Count(bool added) noexcept { ++(added ? successes_ : failures_); }
  // The archive is to be what it was before.
  void Stop() noexcept { stopped_ = true; }
  bool IsStopped() const noexcept { return stopped_; }

  // ZIP_OK, or why the archive is what it was before. That it is also after Stop, and after nothing but
  // failures, which is no failure of its own.
  int Close();
  void Abandon() noexcept;

 private:
  bool OpenNew();
  bool OpenOld(bool keepsMembers);
  bool HasDirectoryHere() noexcept;
  bool Complete();

  const std::string path_;
  const bool usesZip64_;
  ZipStream stream_;
  zipFile zip_ = nullptr;
  OwnedTree folder_;       // of a new archive
  std::string temporary_;  // its file's name until it is complete
  os::FileIdentity identity_;
  bool replaces_ = false;  // an older archive, of this identity and mode
  os::FileIdentity oldIdentity_;
  std::uint32_t oldMode_ = 0;
  std::unordered_set<std::string> names_;  // as the system compares them
  std::uint64_t members_ = 0;
  std::uint64_t directorySize_ = 0;  // of the table of contents
  std::uint64_t successes_ = 0;
  std::uint64_t failures_ = 0;
  bool stopped_ = false;
  bool inTree_ = false;
  os::SystemError error_ = os::kSuccess;
};

}  // namespace du::internal

#endif
