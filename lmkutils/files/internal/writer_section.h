// A compressed section while a FileWriter is inside.
#ifndef LMKUTILS_FILES_INTERNAL_WRITER_SECTION_H
#define LMKUTILS_FILES_INTERNAL_WRITER_SECTION_H

#include <cstddef>
#include <cstdint>

#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/files/internal/zlib_stream.h"

namespace du::internal {

// Deflates plain bytes, and counts and checks them for the trailer.
class WriterSection {
 public:
  enum class Step {
    kNeedsRoom,  // all room is used; there is more
    kDone,       // all input is taken; when finishing, the deflate data is complete
    kFailed,     // Code(): zlib's result
  };

  WriterSection() noexcept = default;
  WriterSection(const WriterSection&) = delete;
  WriterSection& operator=(const WriterSection&) = delete;
  ~WriterSection() { End(); }

  // `level` is zlib's. Called between sections only; false when there is no memory.
  bool Begin(int level, std::size_t bufferSize) noexcept;
  // The plain bytes that Deflate takes next.
  void SetInput(const unsigned char* bytes, std::size_t size) noexcept;
  // Puts `*count` packed bytes at `target`, at most `room`, which is not 0.
  Step Deflate(unsigned char* target, std::size_t room, bool finish, std::size_t* count) noexcept;
  int Code() const noexcept { return code_; }
  // False when the data is not complete.
  bool End() noexcept;

  std::uint32_t Checksum() const noexcept { return static_cast<std::uint32_t>(checksum_); }
  std::uint64_t PlainBytes() const noexcept { return plainBytes_; }
  unsigned char* Buffer() const noexcept { return buffer_.Get(); }

  // How much of the file's own buffer is filled, while the caller's bytes go into Buffer().
  std::size_t packedInBuffer = 0;

 private:
  z_stream stream_{};
  bool open_ = false;
  int code_ = 0;
  uLong checksum_ = 0;
  std::uint64_t plainBytes_ = 0;
  HeapBlock buffer_;
};

}  // namespace du::internal

#endif
