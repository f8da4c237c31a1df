// The file of a FileReader.
#ifndef LMKUTILS_FILES_INTERNAL_READER_FILE_H
#define LMKUTILS_FILES_INTERNAL_READER_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "lmkutils/files/file_handler.h"
#include "lmkutils/files/internal/heap_block.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/os/file.h"

namespace du::internal {

// The open file, where it stands, and the buffer for the bytes as they are in it.
class ReaderFile {
 public:
  ReaderFile() noexcept = default;
  ReaderFile(const ReaderFile&) = delete;
  ReaderFile& operator=(const ReaderFile&) = delete;

  // At most `bufferSize` bytes are read ahead; a section reads twice as many. A buffer of another size is
  // freed. On failure errno tells why. Throws std::bad_alloc.
  bool Open(const std::string& path, std::size_t bufferSize);
  void Close() noexcept;
  bool IsOpen() const noexcept { return static_cast<bool>(handler_); }

  // One read call; 0 bytes are the end of the file.
  os::SystemError Read(void* target, std::size_t size, std::size_t* count) noexcept;
  os::SystemError Seek(std::int64_t position) noexcept;
  // Behind the last byte that was read.
  std::int64_t Position() const noexcept { return position_; }
  // What lies between there and the end of the file; 0 where that is unknown. Leaves the position.
  std::int64_t Remaining() noexcept;

  std::size_t ReadAhead() const noexcept { return readAhead_; }
  // Of twice ReadAhead() bytes, allocated at the first call; null when there is no memory.
  unsigned char* Buffer() noexcept { return buffer_.Allocate(2 * readAhead_) ? buffer_.Get() : nullptr; }

 private:
  SmartPtr<ReadFileHandler> handler_;
  os::File file_ = os::File::kNone;
  std::int64_t position_ = 0;
  std::size_t readAhead_ = 0;
  HeapBlock buffer_;
};

}  // namespace du::internal

#endif
