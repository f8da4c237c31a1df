#include "lmkutils/files/internal/writer_file.h"

#include <utility>

#include "lmkutils/os/descriptor.h"
#include "lmkutils/os/file_status.h"

namespace du::internal {

bool WriterFile::Open(const std::string& path, std::size_t bufferSize, bool truncate) {
  if (bufferSize_ != bufferSize) buffer_.Free();
  bufferSize_ = bufferSize;
  position_ = 0;
  auto handler = MakeShared<WriteFileHandler>();
  const int flags =
      os::kOpenReadWrite | os::kOpenCreate | os::kOpenBinary | (truncate ? os::kOpenTruncate : 0);
  constexpr int kReadAndWrite = 0666;
  if (!handler->Open(path, flags, kReadAndWrite)) return false;
  file_ = os::FileOfDescriptor(handler->GetFileDescriptor());
  handler_ = std::move(handler);
  return true;
}

bool WriterFile::Close() noexcept {
  const bool good = !handler_ || handler_->Close();
  handler_.reset();
  file_ = os::File::kNone;
  return good;
}

bool WriterFile::IsSameFile(os::File other) const noexcept {
  os::FileStatus ours;
  os::FileStatus theirs;
  return os::QueryFileStatus(file_, &ours) == os::kSuccess &&
         os::QueryFileStatus(other, &theirs) == os::kSuccess && ours.identity == theirs.identity;
}

bool WriterFile::Write(const void* bytes, std::size_t size) noexcept {
  constexpr std::size_t kWorthReserving = 1 << 20;
  if (size >= kWorthReserving) os::ReserveRoom(file_, position_, size);
  std::size_t written = 0;
  const os::SystemError error = os::WriteOnce(file_, bytes, size, &written);
  position_ += static_cast<std::int64_t>(written);
  return error == os::kSuccess && written == size;
}

os::SystemError WriterFile::Seek(std::int64_t position) noexcept {
  const os::SystemError error = os::SeekFile(file_, position, os::SeekFrom::kStart, nullptr);
  if (error == os::kSuccess) position_ = position;
  return error;
}

}  // namespace du::internal
