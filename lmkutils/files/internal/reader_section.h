// A compressed section while a FileReader is inside.
#ifndef LMKUTILS_FILES_INTERNAL_READER_SECTION_H
#define LMKUTILS_FILES_INTERNAL_READER_SECTION_H

#include <cstddef>
#include <cstdint>
#include <limits>

#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/files/internal/reader_file.h"
#include "lmkutils/files/internal/zlib_stream.h"

namespace du::internal {

// Inflates what comes from the file. The packed bytes lie in the file's own buffer, so that what is left of
// them after the section needs no copying to be plain data again; the inflated ones get a buffer of their
// own.
class ReaderSection {
 public:
  static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

  // Why a section gave no more bytes.
  enum class Stop {
    kFull,        // none is missing
    kEnd,         // the section ended
    kCut,         // the file ended first
    kReadFailed,  // Code(): the system's error number
    kDamaged,     // Code(): zlib's result
  };

  ReaderSection() noexcept = default;
  ReaderSection(const ReaderSection&) = delete;
  ReaderSection& operator=(const ReaderSection&) = delete;
  ~ReaderSection() { End(); }

  // The section's packed bytes begin with [packed, packed + size) and go on in the file; without a gzip
  // header they are a zlib stream. Not more than `limit` packed bytes belong to it. Called between sections
  // only; false when there is no memory.
  bool Begin(const unsigned char* packed, std::size_t size, bool isGzip, std::uint64_t limit,
             std::size_t bufferSize) noexcept;

  // Puts `*count` plain bytes at `target`, `room` of them unless it is stopped before. Every further call
  // after that gives the same reason.
  Stop Inflate(ReaderFile& file, unsigned char* target, std::size_t room, std::size_t* count) noexcept;
  int Code() const noexcept { return code_; }

  // False when zlib is left in a state that is none.
  bool End() noexcept;
  // Afterwards: the bytes of the file that were read, but are not part of the section.
  const unsigned char* Rest() const noexcept { return stream_.next_in; }
  std::size_t RestSize() const noexcept { return stream_.avail_in + behindLimit_; }

  bool IsGzip() const noexcept { return isGzip_; }
  unsigned char* Buffer() const noexcept { return buffer_.Get(); }

 private:
  bool Supply(ReaderFile& file, Stop* stop) noexcept;

  z_stream stream_{};
  bool open_ = false;
  bool isGzip_ = false;
  bool atEnd_ = false;
  int code_ = 0;
  std::uint64_t limit_ = kNoLimit;  // packed bytes that may still be read
  std::size_t behindLimit_ = 0;     // bytes behind the limit that were in the buffer when the section began
  HeapBlock buffer_;
};

}  // namespace du::internal

#endif
