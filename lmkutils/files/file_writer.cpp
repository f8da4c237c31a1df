#include "lmkutils/files/file_writer.h"

#include <algorithm>
#include <cerrno>

#include "lmkutils/files/internal/writer_file.h"
#include "lmkutils/files/internal/writer_section.h"
#include "lmkutils/os/descriptor.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
SmartPtr<FileWriter> FileWriter::Construct() {
  return SmartPtr<FileWriter>(new FileWriter);
}

FileWriter::FileWriter() noexcept = default;

FileWriter::~FileWriter() {
  Close();
}

bool FileWriter::Open(const char* path, int endian, unsigned bufferSize, bool truncate) {
  return Open(std::string(path != nullptr ? path : ""), endian, bufferSize, truncate);
}

bool FileWriter::Open(const std::string& path, int endian, unsigned bufferSize, bool truncate) {
  Close();
  name_ = path;
  SetEndian(endian);
  ClearFlag(kError);
  broken_ = false;
  if (!file_) file_ = std::make_unique<internal::WriterFile>();
  if (file_->Open(name_, internal::BufferSize(bufferSize), truncate)) return true;
  const int number = errno;
  dp::LMTracer("FileWriter", "")(dp::TraceType::Error, "Open() could not open file \"%s\".  \"%s\"(%d).\n",
                                 name_.c_str(), std::strerror(number), number);
  SetFlag(kError);
  return false;
}

bool FileWriter::Close() noexcept {
  if (!IsOpen()) return true;
  if (IsCompressed()) EndCompressedSection();
  if (Used() != 0) FlushBuffer(0, false);
  if (!file_->Close()) {
    const int number = errno;
    dp::LMTracer("FileWriter", "")(dp::TraceType::Error,
                                   "Close() could not close file \"%s\".  \"%s\"(%d).\n", name_.c_str(),
                                   std::strerror(number), number);
    SetFlag(kError);
  }
  Hold(nullptr, 0, 0);
  return !IsError();
}

bool FileWriter::IsOpen() const noexcept {
  return file_ && file_->IsOpen();
}

// The system is taken to be little-endian.
bool FileWriter::SetEndian(int endian) noexcept {
  if (endian != 0 && endian != 1) return false;
  ClearFlag(kBigEndianFile);
  ClearFlag(kMustSwap);
  if (endian == 1) {
    SetFlag(kBigEndianFile);
    SetFlag(kMustSwap);
  }
  return true;
}

bool FileWriter::Write(const bool& value) noexcept {
  const unsigned char byte = value ? 1 : 0;
  return Write1Byte(&byte);
}

unsigned FileWriter::Write1ByteArray(const void* values, unsigned count) noexcept {
  return WriteArray<std::uint8_t>(values, count);
}

unsigned FileWriter::Write2ByteArray(const void* values, unsigned count) noexcept {
  return WriteArray<std::uint16_t>(values, count);
}

unsigned FileWriter::Write4ByteArray(const void* values, unsigned count) noexcept {
  return WriteArray<std::uint32_t>(values, count);
}

unsigned FileWriter::Write8ByteArray(const void* values, unsigned count) noexcept {
  return WriteArray<std::uint64_t>(values, count);
}

template <class Word>
unsigned FileWriter::WriteArray(const void* values, unsigned count) noexcept {
  if (values == nullptr) return 0;
  const auto* from = static_cast<const unsigned char*>(values);
  unsigned left = count;
  while (left != 0) {
    std::size_t part = std::min<std::size_t>(left, Free() / sizeof(Word));
    if (part != 0) {
      PutIntoBuffer<Word>(from, part);
    } else if (sizeof(Word) == 1 || !MustSwapBytes()) {
      if (!WritePastBuffer(from, left, sizeof(Word), &part)) break;
    } else if (!FlushBuffer(sizeof(Word), false)) {
      break;
    }
    from += part * sizeof(Word);
    left -= static_cast<unsigned>(part);
  }
  return count - left;
}

template <class Word>
void FileWriter::PutIntoBuffer(const unsigned char* values, std::size_t count) noexcept {
  unsigned char* const to = next_;
  next_ += count * sizeof(Word);
  if constexpr (sizeof(Word) > 1) {
    if (MustSwapBytes()) return internal::CopyByteSwapped<Word>(to, values, count);
  }
  std::memcpy(to, values, count * sizeof(Word));
}

std::uint64_t FileWriter::WriteFile(const char* path) {
  std::uint64_t count = 0;
  if (CopyFrom(path != nullptr ? path : "", &count)) return count;
  SetFlag(kError);
  return 0;
}

bool FileWriter::CopyFrom(const std::string& path, std::uint64_t* count) {
  ReadFileHandler source;
  if (!source.Open(path, os::kOpenReadOnly | os::kOpenBinary, 0)) return false;
  const os::File file = os::FileOfDescriptor(source.GetFileDescriptor());
  if (IsOpen() && file_->IsSameFile(file)) return false;  // it would grow for ever
  for (;;) {
    if (Free() == 0 && !FlushBuffer(1, false)) return false;
    std::size_t size = 0;
    if (os::ReadOnce(file, next_, Free(), &size) != os::kSuccess) return false;
    if (size == 0) return true;
    next_ += size;
    *count += size;
  }
}

std::int64_t FileWriter::GetPosition() const noexcept {
  if (!IsOpen()) return 0;
  const auto used = static_cast<std::int64_t>(Used());
  if (!IsCompressed()) return file_->Position() + used;
  return sectionStart_ + static_cast<std::int64_t>(section_->PlainBytes()) + used;
}

bool FileWriter::SetPosition(std::int64_t position) noexcept {
  if (IsCompressed()) return false;
  if (position >= 0 && IsOpen() && FlushBuffer(0, false) && file_->Seek(position) == os::kSuccess)
    return true;
  SetFlag(kError);
  return false;
}

}  // namespace du
