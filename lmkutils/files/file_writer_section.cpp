// The compressed sections of a FileWriter. docs/gzip-sections.md has their format.
#include <new>

#include "lmkutils/files/file_writer.h"
#include "lmkutils/files/internal/writer_file.h"
#include "lmkutils/files/internal/writer_section.h"

namespace du {

bool FileWriter::StartCompressedSection(COMPRESSION_LEVEL level) noexcept {
  // No flags, no time, no name of a system.
  constexpr char kHeader[internal::kGzipHeaderSize] = {'\x1F', '\x8B', internal::kGzipDeflate};
  const int zlibLevel = level == BEST_COMPRESSION ? Z_BEST_COMPRESSION : Z_DEFAULT_COMPRESSION;
  const std::int64_t start = GetPosition();
  if (!IsOpen()) return FlushBuffer(0, false);  // which tells so
  if (!section_) section_.reset(new (std::nothrow) internal::WriterSection);
  if (IsCompressed() || !section_ || !section_->Begin(zlibLevel, file_->BufferSize())) {
    SetFlag(kError);
    return false;
  }
  if (Write(kHeader, sizeof(kHeader)) != sizeof(kHeader)) {
    section_->End();
    return false;
  }
  SetFlag(kInCompressedSection);
  sectionStart_ = start;
  section_->packedInBuffer = Used();
  Hold(section_->Buffer(), 0, file_->BufferSize());
  return true;
}

// The packed bytes go behind the header and the plain data that still wait in the file's buffer, and what is
// left of them there at the end waits like any other data.
bool FileWriter::FlushSection(bool finish) noexcept {
  using Step = internal::WriterSection::Step;
  const std::size_t size = file_->BufferSize();
  unsigned char* const packed = file_->Buffer();
  section_->SetInput(begin_, Used());
  Step step;
  do {
    std::size_t& used = section_->packedInBuffer;
    if (used == size) {
      if (!WriteToFile(packed, size)) return false;
      used = 0;
    }
    std::size_t count = 0;
    step = section_->Deflate(packed + used, size - used, finish, &count);
    used += count;
  } while (step == Step::kNeedsRoom);
  if (step == Step::kFailed) {
    return Break("FlushBuffer() failed to deflate data (%d).\n", section_->Code());
  }
  next_ = begin_;
  return true;
}

bool FileWriter::EndCompressedSection() noexcept {
  if (!IsCompressed()) {
    SetFlag(kError);
    return false;
  }
  const bool flushed = FlushBuffer(0, true);
  const bool ended = section_->End();
  ClearFlag(kInCompressedSection);
  if (!broken_) Hold(file_->Buffer(), section_->packedInBuffer, file_->BufferSize());
  if (flushed && ended && AppendTrailer()) return true;
  SetFlag(kError);
  return false;
}

// Least significant byte first, whatever the byte order of the file.
bool FileWriter::AppendTrailer() noexcept {
  char trailer[internal::kGzipTrailerSize];
  const std::uint64_t numbers = section_->Checksum() | (section_->PlainBytes() << 32);
  for (std::size_t i = 0; i < sizeof(trailer); ++i)
    trailer[i] = static_cast<char>((numbers >> (8 * i)) & 0xFF);
  return Write(trailer, sizeof(trailer)) == sizeof(trailer);
}

}  // namespace du
