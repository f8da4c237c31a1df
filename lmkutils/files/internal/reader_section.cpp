#include "lmkutils/files/internal/reader_section.h"

#include <algorithm>

namespace du::internal {

bool ReaderSection::Begin(const unsigned char* packed, std::size_t size, bool isGzip, std::uint64_t limit,
                          std::size_t bufferSize) noexcept {
  stream_ = NewZlibStream();
  if (!buffer_.Allocate(bufferSize) || inflateInit2(&stream_, isGzip ? kRawWindowBits : MAX_WBITS) != Z_OK) {
    return false;
  }
  open_ = true;
  isGzip_ = isGzip;
  atEnd_ = false;
  code_ = 0;
  const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(size, limit));
  stream_.next_in = packed;
  stream_.avail_in = static_cast<uInt>(part);
  behindLimit_ = size - part;
  limit_ = limit == kNoLimit ? limit : limit - part;
  return true;
}

// Input that is used up is not the end: zlib may still hold plain bytes, and the mark of the end.
ReaderSection::Stop ReaderSection::Inflate(ReaderFile& file, unsigned char* target, std::size_t room,
                                           std::size_t* count) noexcept {
  Stop stop = Stop::kFull;
  stream_.next_out = target;
  stream_.avail_out = static_cast<uInt>(room);
  while (stop == Stop::kFull && stream_.avail_out != 0) {
    const int result = atEnd_ ? Z_STREAM_END : inflate(&stream_, Z_SYNC_FLUSH);
    if (result == Z_STREAM_END) {
      atEnd_ = true;
      stop = Stop::kEnd;
    } else if (result != Z_OK && result != Z_BUF_ERROR) {
      code_ = result;
      stop = Stop::kDamaged;
    } else if (stream_.avail_out != 0 && stream_.avail_in == 0 && !Supply(file, &stop)) {
      break;
    }
  }
  *count = room - stream_.avail_out;
  return stop;
}

bool ReaderSection::Supply(ReaderFile& file, Stop* stop) noexcept {
  if (limit_ == 0) {
    atEnd_ = true;
    *stop = Stop::kEnd;
    return false;
  }
  unsigned char* const packed = file.Buffer();
  std::size_t count = 0;
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(2 * file.ReadAhead(), limit_));
  const os::SystemError error = file.Read(packed, size, &count);
  stream_.next_in = packed;
  stream_.avail_in = static_cast<uInt>(count);
  if (limit_ != kNoLimit) limit_ -= count;
  if (error != os::kSuccess) {
    code_ = static_cast<int>(error);
    *stop = Stop::kReadFailed;
  } else if (count == 0) {
    *stop = Stop::kCut;
  }
  return *stop == Stop::kFull;
}

bool ReaderSection::End() noexcept {
  const bool wasOpen = open_;
  open_ = false;
  return wasOpen && inflateEnd(&stream_) == Z_OK;
}

}  // namespace du::internal
