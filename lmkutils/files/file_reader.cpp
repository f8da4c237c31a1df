#include "lmkutils/files/file_reader.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <utility>

#include "lmkutils/files/internal/reader_file.h"
#include "lmkutils/files/internal/reader_section.h"
#include "lmkutils/files/internal/zlib_stream.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

// False when the sum cannot be told.
bool Add(std::int64_t a, std::int64_t b, std::int64_t* sum) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  if (b > 0 ? a > kMost - b : a < kLeast - b) return false;
  *sum = a + b;
  return true;
}

}  // namespace

FileReader::FileReader() noexcept : systemBigEndian_(std::endian::native == std::endian::big) {
  SetEndian(0);
}

FileReader::~FileReader() {
  Close();
}

bool FileReader::Open(const char* path, int endian, unsigned bufferSize) {
  return OpenFile(path != nullptr ? path : "", "", endian, bufferSize);
}

bool FileReader::Open(const std::string& path, int endian, unsigned bufferSize) {
  return OpenFile(path, "", endian, bufferSize);
}

bool FileReader::Open(const Symbol& path, int endian, unsigned bufferSize) {
  return OpenFile(std::string(path), "", endian, bufferSize);
}

bool FileReader::Open(const Symbol& path, const std::string& sourceFileBaseUrl, int endian,
                      unsigned bufferSize) {
  return OpenFile(std::string(path), sourceFileBaseUrl, endian, bufferSize);
}

bool FileReader::OpenFile(std::string path, std::string sourceFileBaseUrl, int endian, unsigned bufferSize) {
  Close();
  name_ = std::move(path);
  sourceFileBaseUrl_ = std::move(sourceFileBaseUrl);
  SetEndian(endian);
  atFileEnd_ = false;
  error_ = false;
  if (!file_) file_ = std::make_unique<internal::ReaderFile>();
  if (file_->Open(name_, internal::BufferSize(bufferSize))) return true;
  const int number = errno;
  dp::LMTracer("FileReader", "")(dp::TraceType::Error, "Open() could not open file \"%s\".  \"%s\"(%d).\n",
                                 name_.c_str(), std::strerror(number), number);
  error_ = true;
  return false;
}

void FileReader::Close() noexcept {
  if (!IsOpen()) return;
  if (compressed_) LeaveSection();
  file_->Close();
  Hold(nullptr, 0);
}

bool FileReader::IsOpen() const noexcept {
  return file_ && file_->IsOpen();
}

bool FileReader::SetEndian(int endian) noexcept {
  if (endian != 0 && endian != 1) return false;
  bigEndian_ = endian == 1;
  mustSwap_ = bigEndian_ != systemBigEndian_;
  return true;
}

bool FileReader::Read(bool& value) noexcept {
  unsigned char byte;
  if (!Read1Byte(&byte)) return false;
  value = byte != 0;
  return true;
}

unsigned FileReader::Read1ByteArray(void* values, unsigned count) noexcept {
  return ReadArray<std::uint8_t>(values, count);
}

unsigned FileReader::Read2ByteArray(void* values, unsigned count) noexcept {
  return ReadArray<std::uint16_t>(values, count);
}

unsigned FileReader::Read4ByteArray(void* values, unsigned count) noexcept {
  return ReadArray<std::uint32_t>(values, count);
}

unsigned FileReader::Read8ByteArray(void* values, unsigned count) noexcept {
  return ReadArray<std::uint64_t>(values, count);
}

template <class Word>
unsigned FileReader::ReadArray(void* values, unsigned count) noexcept {
  if (values == nullptr) return 0;
  const bool swaps = mustSwap_ && sizeof(Word) > 1;
  auto* to = static_cast<unsigned char*>(values);
  unsigned left = count;
  bool goesOn = true;
  while (left != 0 && goesOn) {
    std::size_t part = 0;
    if (Unread() >= sizeof(Word)) {
      part = TakeUnread<Word>(to, left);
    } else if (swaps || !IsWorthPassingBuffer(std::uint64_t{left} * sizeof(Word))) {
      goesOn = FillBuffer(sizeof(Word));
    } else {
      goesOn = ReadPastBuffer(to, left, sizeof(Word), &part);
    }
    to += part * sizeof(Word);
    left -= static_cast<unsigned>(part);
  }
  return count - left;
}

// Takes up to `count` whole values out of the buffer.
template <class Word>
std::size_t FileReader::TakeUnread(void* target, std::size_t count) noexcept {
  const std::size_t part = std::min(count, Unread() / sizeof(Word));
  if constexpr (sizeof(Word) > 1) {
    if (mustSwap_) {
      internal::CopyByteSwapped<Word>(target, next_, part);
      next_ += part * sizeof(Word);
      return part;
    }
  }
  std::memcpy(target, next_, part * sizeof(Word));
  next_ += part * sizeof(Word);
  return part;
}

std::string FileReader::ReadRemainingContents() {
  std::string text;
  if (!IsOpen()) {
    FillBuffer(1);  // tells so
    return text;
  }
  // What is known to be left; where nothing is known, what one filling gives.
  std::uint64_t pass = Unread();
  if (!compressed_) pass += static_cast<std::uint64_t>(file_->Remaining());
  std::size_t size = 0;
  while (Unread() != 0 || Supply()) {
    pass = std::max<std::uint64_t>(pass, Unread());
    if (pass > text.max_size() - size)
      throw std::length_error("the contents of the file do not fit into memory");
    text.resize(size + static_cast<std::size_t>(pass));
    size += ReadAvailable(text.data() + size, static_cast<std::size_t>(pass));
    pass *= 2;
  }
  text.resize(size);
  return text;
}

std::int64_t FileReader::GetPosition() const noexcept {
  if (!IsOpen()) return 0;
  return (compressed_ ? sectionStart_ + sectionBytes_ : file_->Position()) -
         static_cast<std::int64_t>(Unread());
}

std::int64_t FileReader::GetFilePos() const noexcept {
  return IsOpen() ? file_->Position() : 0;
}

bool FileReader::SetPosition(std::int64_t position) noexcept {
  if (compressed_) return false;
  error_ = error_ || position < 0 || !IsOpen();
  if (position < 0 || !IsOpen()) return false;
  const std::int64_t inBuffer = position - (file_->Position() - (end_ - begin_));
  if (inBuffer >= 0 && inBuffer <= end_ - begin_) {
    next_ = begin_ + inBuffer;
  } else if (file_->Seek(position) == os::kSuccess) {
    Hold(nullptr, 0);
  } else {
    error_ = true;
    return false;
  }
  atFileEnd_ = false;
  return true;
}

bool FileReader::Rewind(std::int64_t count) noexcept {
  if (compressed_) return false;
  std::int64_t position;
  if (count != std::numeric_limits<std::int64_t>::min() && Add(GetPosition(), -count, &position)) {
    return SetPosition(position);
  }
  error_ = true;
  return false;
}

bool FileReader::Forward(std::int64_t count) noexcept {
  if (compressed_) {
    if (count < 0) return false;
    if (Discard(static_cast<std::uint64_t>(count))) return true;
    if (!sectionFailed_) FillBuffer(1);  // tells of the end; a failure has been told
    return false;
  }
  std::int64_t position;
  if (Add(GetPosition(), count, &position)) return SetPosition(position);
  error_ = true;
  return false;
}

bool FileReader::Skip(std::int64_t count, int width) noexcept {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  if (count <= kMost / width && count >= -kMost / width) return Forward(count * width);
  error_ = error_ || !compressed_ || count > 0;
  return false;
}

}  // namespace du
