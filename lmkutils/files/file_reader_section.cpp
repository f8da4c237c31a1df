// The compressed sections of a FileReader. docs/gzip-sections.md has their format.
#include <algorithm>
#include <iterator>
#include <limits>
#include <new>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/internal/reader_file.h"
#include "lmkutils/files/internal/reader_section.h"
#include "lmkutils/files/internal/zlib_stream.h"

namespace du {
namespace {

// Flags in the header of a gzip member (RFC 1952); the first one, "probably text", says nothing of its form.
constexpr unsigned kHeaderChecksum = 0x02;
constexpr unsigned kExtraField = 0x04;
constexpr unsigned kFileName = 0x08;
constexpr unsigned kComment = 0x10;
constexpr unsigned kReservedFlags = 0xE0;

}  // namespace

bool FileReader::StartCompressedSection() noexcept {
  return StartSection(internal::ReaderSection::kNoLimit);
}

bool FileReader::StartCompressedSection(unsigned compressedLength) noexcept {
  return compressedLength != 0 && StartSection(compressedLength);
}

bool FileReader::StartSection(std::uint64_t limit) noexcept {
  error_ = error_ || compressed_;
  if (compressed_) return false;
  const std::int64_t start = GetPosition();
  bool isGzip = false;
  if (!section_) section_.reset(new (std::nothrow) internal::ReaderSection);
  if (!section_ || !ReadSectionHeader(&isGzip) ||
      !section_->Begin(next_, Unread(), isGzip, limit, file_->ReadAhead())) {
    error_ = true;
    if (IsOpen()) SetPosition(start);
    return false;
  }
  compressed_ = true;
  atSectionEnd_ = false;
  sectionFailed_ = false;
  sectionStart_ = start;
  sectionBytes_ = 0;
  Hold(section_->Buffer(), 0);
  return true;
}

// Leaves the position behind the header of a gzip member, or where it is when there is none. False when the
// header is cut or has what no version of the format allows.
bool FileReader::ReadSectionHeader(bool* isGzip) noexcept {
  if (Unread() < sizeof(internal::kGzipMagic) && !FillBuffer(sizeof(internal::kGzipMagic))) return false;
  *isGzip = std::equal(std::begin(internal::kGzipMagic), std::end(internal::kGzipMagic), next_);
  if (!*isGzip) return true;
  unsigned char header[internal::kGzipHeaderSize];
  if (ReadAvailable(header, sizeof(header)) != sizeof(header)) return false;
  const unsigned flags = header[3];
  if (header[2] != internal::kGzipDeflate || (flags & kReservedFlags) != 0) return false;
  if ((flags & kExtraField) != 0) {
    unsigned char length[2];
    if (ReadAvailable(length, sizeof(length)) != sizeof(length)) return false;
    if (!Discard(length[0] + 256u * length[1])) return false;
  }
  if ((flags & kFileName) != 0 && !SkipHeaderText()) return false;
  if ((flags & kComment) != 0 && !SkipHeaderText()) return false;
  return (flags & kHeaderChecksum) == 0 || Discard(2);
}

// Up to a NUL and over it.
bool FileReader::SkipHeaderText() noexcept {
  while (Unread() != 0 || Supply()) {
    const void* const found = std::memchr(next_, 0, Unread());
    next_ = found != nullptr ? static_cast<const unsigned char*>(found) + 1 : end_;
    if (found != nullptr) return true;
  }
  return false;
}

bool FileReader::EndCompressedSection(bool skipToEnd) noexcept {
  if (!compressed_) {
    error_ = true;
    return false;
  }
  if (skipToEnd) Discard(std::numeric_limits<std::uint64_t>::max());
  bool good = !sectionFailed_ && (atSectionEnd_ || !skipToEnd);
  good = LeaveSection() && good;
  if (good && skipToEnd && section_->IsGzip()) good = Discard(internal::kGzipTrailerSize);
  error_ = error_ || !good;
  return good;
}

// What was read of the file, but does not belong to the section, is plain data again.
bool FileReader::LeaveSection() noexcept {
  compressed_ = false;
  const bool good = section_->End();
  Hold(section_->Rest(), section_->RestSize());
  return good;
}

}  // namespace du
