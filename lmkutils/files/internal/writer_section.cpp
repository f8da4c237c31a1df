#include "lmkutils/files/internal/writer_section.h"

namespace du::internal {

bool WriterSection::Begin(int level, std::size_t bufferSize) noexcept {
  constexpr int kMemoryLevel = 9;
  stream_ = NewZlibStream();
  if (!buffer_.Allocate(bufferSize) ||
      deflateInit2(&stream_, level, Z_DEFLATED, kRawWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
    return false;
  }
  open_ = true;
  code_ = 0;
  checksum_ = crc32(0, nullptr, 0);
  plainBytes_ = 0;
  return true;
}

void WriterSection::SetInput(const unsigned char* bytes, std::size_t size) noexcept {
  checksum_ = crc32(checksum_, bytes, static_cast<uInt>(size));
  plainBytes_ += size;
  stream_.next_in = bytes;
  stream_.avail_in = static_cast<uInt>(size);
}

// Z_BUF_ERROR says that there was nothing to do.
WriterSection::Step WriterSection::Deflate(unsigned char* target, std::size_t room, bool finish,
                                           std::size_t* count) noexcept {
  stream_.next_out = target;
  stream_.avail_out = static_cast<uInt>(room);
  const int result = deflate(&stream_, finish ? Z_FINISH : Z_NO_FLUSH);
  *count = room - stream_.avail_out;
  if (result < 0 && result != Z_BUF_ERROR) {
    code_ = result;
    return Step::kFailed;
  }
  if (finish ? result == Z_STREAM_END : stream_.avail_in == 0) return Step::kDone;
  return Step::kNeedsRoom;
}

bool WriterSection::End() noexcept {
  const bool wasOpen = open_;
  open_ = false;
  return wasOpen && deflateEnd(&stream_) == Z_OK;
}

}  // namespace du::internal
