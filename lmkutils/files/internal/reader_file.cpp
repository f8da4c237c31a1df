#include "lmkutils/files/internal/reader_file.h"

#include <algorithm>

#include "lmkutils/os/descriptor.h"

namespace du::internal {

bool ReaderFile::Open(const std::string& path, std::size_t bufferSize) {
  if (readAhead_ != bufferSize) buffer_.Free();
  readAhead_ = bufferSize;
  position_ = 0;
  auto handler = MakeShared<ReadFileHandler>();
  if (!handler->Open(path, os::kOpenReadOnly | os::kOpenBinary, 0)) return false;
  file_ = os::FileOfDescriptor(handler->GetFileDescriptor());
  handler_ = std::move(handler);
  return true;
}

void ReaderFile::Close() noexcept {
  handler_.reset();
  file_ = os::File::kNone;
}

os::SystemError ReaderFile::Read(void* target, std::size_t size, std::size_t* count) noexcept {
  const os::SystemError error = os::ReadOnce(file_, target, size, count);
  position_ += static_cast<std::int64_t>(*count);
  return error;
}

os::SystemError ReaderFile::Seek(std::int64_t position) noexcept {
  const os::SystemError error = os::SeekFile(file_, position, os::SeekFrom::kStart, nullptr);
  if (error == os::kSuccess) position_ = position;
  return error;
}

std::int64_t ReaderFile::Remaining() noexcept {
  std::int64_t size = 0;
  if (os::SeekFile(file_, 0, os::SeekFrom::kEnd, &size) != os::kSuccess) return 0;
  if (os::SeekFile(file_, position_, os::SeekFrom::kStart, nullptr) != os::kSuccess) return 0;
  return std::max<std::int64_t>(size - position_, 0);
}

}  // namespace du::internal
