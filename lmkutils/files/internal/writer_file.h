// The file of a FileWriter.
#ifndef LMKUTILS_FILES_INTERNAL_WRITER_FILE_H
#define LMKUTILS_FILES_INTERNAL_WRITER_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "lmkutils/files/file_handler.h"
#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/os/file.h"

namespace du::internal {

// The open file, where it stands, and the buffer for the bytes as they are to be in it.
class WriterFile {
 public:
  WriterFile() noexcept = default;
  WriterFile(const WriterFile&) = delete;
  WriterFile& operator=(const WriterFile&) = delete;

  // A buffer of another size than `bufferSize` is freed. On failure errno tells why. Throws std::bad_alloc.
  bool Open(const std::string& path, std::size_t bufferSize, bool truncate);
  // The file is gone in any case; false when earlier writes may be lost.
  bool Close() noexcept;
  bool IsOpen() const noexcept { return static_cast<bool>(handler_); }

  // Whether the two are one file under whatever names; false when the system cannot tell.
  bool IsSameFile(os::File other) const noexcept;

  // One write call; false when it did not take all bytes.
  bool Write(const void* bytes, std::size_t size) noexcept;
  os::SystemError Seek(std::int64_t position) noexcept;
  std::int64_t Position() const noexcept { return position_; }

  std::size_t BufferSize() const noexcept { return bufferSize_; }
  // Allocated at the first call; null when there is no memory.
  unsigned char* Buffer() noexcept { return buffer_.Allocate(bufferSize_) ? buffer_.Get() : nullptr; }

 private:
  SmartPtr<WriteFileHandler> handler_;
  os::File file_ = os::File::kNone;
  std::int64_t position_ = 0;
  std::size_t bufferSize_ = 0;
  HeapBlock buffer_;
};

}  // namespace du::internal

#endif
