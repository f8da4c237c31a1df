// The file of an archive, as minizip reads and writes it.
#ifndef LMKUTILS_FILES_INTERNAL_ZIP_STREAM_H
#define LMKUTILS_FILES_INTERNAL_ZIP_STREAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include <ioapi.h>

#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/files/internal/opened_file.h"

namespace du::internal {

// minizip reads headers byte by byte, and goes back to the header of each member that it wrote. So what it
// reads comes from two pages, one for the directory and one for the members, and what it writes is gathered
// in one, where such a header is still at hand.
//
// An archive that is added to is overwritten from its directory on. What stood there is kept in memory:
// Restore puts it back.
class ZipStream {
 public:
  ZipStream() noexcept = default;
  ZipStream(const ZipStream&) = delete;
  ZipStream& operator=(const ZipStream&) = delete;

  bool OpenForReading(const std::string& path);
  bool OpenForChanging(const std::string& path);
  // A new file, which is closed with the stream.
  void Take(os::File file) noexcept { file_.Take(file); }
  os::File GetFile() const noexcept { return file_.Get(); }
  // Bytes of the file when it was opened.
  std::uint64_t OriginalSize() const noexcept { return originalSize_; }

  // What minizip is opened with: these functions, and the stream's address in place of a path.
  zlib_filefunc64_def Functions() noexcept;

  std::size_t Read(void* target, std::size_t size) noexcept;
  std::size_t Write(const void* bytes, std::size_t size) noexcept;
  bool Seek(std::int64_t offset, int origin) noexcept;
  std::uint64_t Position() const noexcept { return position_; }
  bool HasFailed() const noexcept { return failed_; }
  // Whether the last Read came to the end of the file.
  bool WasCut() const noexcept { return wasCut_; }
  os::SystemError Error() const noexcept { return error_; }

  // Writes that come from now on do nothing.
  void Discard() noexcept { discarding_ = true; }
  // Everything is written, and an older end of the file cut off.
  bool Finish() noexcept;
  // The file is as it was when it was opened; false when that fails as well.
  bool Restore() noexcept;
  bool Close() noexcept { return Note(file_.Close()); }

 private:
  static constexpr std::size_t kPageSize = std::size_t{128} * 1024;

  struct Page {
    std::uint64_t start = 0;
    std::size_t size = 0;
    HeapBlock bytes;

    bool Holds(std::uint64_t position) const noexcept { return position - start < size; }
  };

  bool Note(os::SystemError error) noexcept;
  bool MeasureOriginal() noexcept;
  bool Turn(std::uint64_t position) noexcept;
  bool Load(Page& page, std::uint64_t position) noexcept;
  bool Flush() noexcept;
  bool Preserve(std::uint64_t from) noexcept;
  os::SystemError ReadAt(std::uint64_t position, void* target, std::size_t size, std::size_t* count) noexcept;

  OpenedFile file_;
  std::uint64_t position_ = 0;
  std::uint64_t end_ = 0;  // of what was written
  std::uint64_t originalSize_ = 0;
  std::uint64_t preservedFrom_ = 0;
  std::string preserved_;  // the old bytes from there to the old end
  std::array<Page, 2> pages_;
  std::size_t current_ = 0;  // the page that was used last
  bool writing_ = false;     // the current page holds what is to be written
  bool changed_ = false;
  bool discarding_ = false;
  bool failed_ = false;
  bool wasCut_ = false;
  os::SystemError error_ = os::kSuccess;
};

}  // namespace du::internal

#endif
