// An archive while it is read.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_INPUT_H
#define LMKUTILS_FILES_INTERNAL_ZIP_INPUT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unzip.h>

#include "lmkutils/files/internal/zip_stream.h"
#include "lmkutils/files/zip_observer.h"
#include "lmkutils/files/zip_reader.h"

namespace du::internal {

// A member as the table of contents tells of it.
struct ZipEntry {
  ZipMember member;
  std::string rawName;  // as it stands in the headers, when that is not the member's
  bool isLink = false;
  unz64_file_pos place{};
};

// The bytes of the archive that a member's data take.
struct ZipExtent {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

class ZipInput {
 public:
  ZipInput() noexcept = default;
  ZipInput(const ZipInput&) = delete;
  ZipInput& operator=(const ZipInput&) = delete;
  ~ZipInput();

  // False also for a file that is no archive.
  bool Open(const std::string& path);
  // Of the system, when the file itself could not be opened or read; else 0.
  os::SystemError Error() const noexcept { return stream_.Error(); }

  // All members in the order of the table of contents, which the archive's end record counts. False when it
  // is damaged, or ends before.
  bool ReadDirectory(std::vector<ZipEntry>* entries);

  // The bytes that the table of contents takes by its members, after ReadDirectory.
  std::uint64_t DirectorySize() const noexcept { return directorySize_; }

  // Why the member is not one to be read, judged by the table of contents alone.
  static std::optional<ZipProblem> JudgeEntry(const ZipEntry& entry) noexcept;
  // Where the member's data are. False when the header before them tells of another member than the table of
  // contents, or the archive ends before they do.
  bool LocateData(const ZipEntry& entry, ZipExtent* extent);

  // One member at a time. EndMember tells whether all of it came, with the right CRC-32.
  bool BeginMember(const ZipEntry& entry) noexcept;
  // Up to `size` bytes, fewer only at the end; -1 when the data are damaged, and never more bytes than the
  // table of contents told.
  std::ptrdiff_t Read(void* target, std::size_t size) noexcept;
  bool EndMember() noexcept;

 private:
  bool IsEmptyArchive() noexcept;
  bool ReadEntry(ZipEntry* entry);
  bool HasSameName(const ZipEntry& entry, std::uint64_t dataStart) noexcept;

  ZipStream stream_;
  unzFile zip_ = nullptr;
  std::string name_;  // buffers, for the longest that there can be
  std::string extra_;
  std::uint64_t directorySize_ = 0;
  std::uint64_t expected_ = 0;  // of the open member
  std::uint64_t taken_ = 0;
};

}  // namespace du::internal

#endif
