// How a FileWriter empties its buffer.
#include <algorithm>

#include "lmkutils/files/file_writer.h"
#include "lmkutils/files/internal/writer_file.h"
#include "lmkutils/files/internal/writer_section.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {

// From now on this buffer is filled, in which `used` bytes are waiting already.
void FileWriter::Hold(unsigned char* buffer, std::size_t used, std::size_t size) noexcept {
  begin_ = buffer;
  next_ = buffer + used;
  end_ = buffer + size;
}

// Nothing more is written: it would come to a wrong place, behind what is missing.
bool FileWriter::Break(const char* format, int number) noexcept {
  Hold(nullptr, 0, 0);
  broken_ = true;
  SetFlag(kError);
  dp::LMTracer("FileWriter", "")(dp::TraceType::Error, format, number);
  return false;
}

// Makes room for `minFree` bytes by writing, or deflating, what is in the buffer. With `finish` the section's
// deflate data is brought to its end.
bool FileWriter::FlushBuffer(unsigned minFree, bool finish) noexcept {
  if (!IsOpen()) return Break("FlushBuffer() failed because file is closed.\n", 0);
  if (broken_) return false;
  if (begin_ == nullptr) {
    unsigned char* const buffer = file_->Buffer();
    if (buffer == nullptr) return Break("FlushBuffer() failed to allocate buffer.\n", 0);
    Hold(buffer, 0, file_->BufferSize());
  }
  if (!(IsCompressed() ? FlushSection(finish) : FlushPlain())) return false;
  if (minFree <= Free()) return true;
  SetFlag(kError);
  return false;
}

bool FileWriter::FlushPlain() noexcept {
  if (!WriteToFile(begin_, Used())) return false;
  next_ = begin_;
  return true;
}

bool FileWriter::WriteToFile(const unsigned char* bytes, std::size_t size) noexcept {
  if (size == 0 || file_->Write(bytes, size)) return true;
  return Break("FlushBuffer() failed to write %d bytes.\n", static_cast<int>(size));
}

// Writes up to `count` values of `width` bytes from where they are when that spares copying much; *done is
// how many. Otherwise it only makes room in the buffer.
bool FileWriter::WritePastBuffer(const unsigned char* values, std::size_t count, unsigned width,
                                 std::size_t* done) noexcept {
  constexpr std::size_t kMost = std::size_t{1} << 30;
  if (!FlushBuffer(width, false)) return false;
  if (IsCompressed() || count < file_->BufferSize() / width) return true;
  const std::size_t part = std::min(count, kMost / width);
  if (!WriteToFile(values, part * width)) return false;
  *done = part;
  return true;
}

}  // namespace du
