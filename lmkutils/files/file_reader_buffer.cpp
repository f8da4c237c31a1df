// How a FileReader fills its buffer.
#include <algorithm>

#include "lmkutils/files/file_reader.h"
#include "lmkutils/files/internal/reader_file.h"
#include "lmkutils/files/internal/reader_section.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {

// From now on these bytes are what has been read and not been taken.
void FileReader::Hold(const unsigned char* bytes, std::size_t size) noexcept {
  begin_ = next_ = bytes;
  end_ = bytes + size;
}

bool FileReader::Fail(const char* format, int number) noexcept {
  dp::LMTracer("FileReader", "")(dp::TraceType::Error, format, number);
  error_ = true;
  return false;
}

// Makes `minBytes` bytes available, at most 8.
bool FileReader::FillBuffer(unsigned minBytes) noexcept {
  if (!MayFill(minBytes)) return false;
  const std::size_t old = Unread();
  if (!Refill(minBytes)) return false;
  return Unread() >= minBytes || EndBefore(minBytes, Unread() != old);
}

bool FileReader::MayFill(unsigned minBytes) noexcept {
  if (!IsOpen()) return Fail("FillBuffer() failed because file is closed.\n", 0);
  if (atFileEnd_)
    return Fail("FillBuffer() failed to read because of EOF (%d).\n", static_cast<int>(minBytes));
  if (compressed_ && atSectionEnd_) {
    return Fail("FillBuffer() failed because end of compressed section reached.\n", 0);
  }
  if (Buffer() == nullptr) return Fail("FillBuffer() failed to allocate buffer.\n", 0);
  return true;
}

// An end came before so many bytes; that of a file is an error only when some of them came first.
bool FileReader::EndBefore(unsigned minBytes, bool someCame) noexcept {
  return (compressed_ || someCame) &&
         Fail("FillBuffer() failed - not enough data, requested %d bytes.\n", static_cast<int>(minBytes));
}

// For reads that take what there is: more bytes into the empty buffer. False at an end, which is no error.
bool FileReader::Supply() noexcept {
  if (atFileEnd_ || (compressed_ && atSectionEnd_)) return false;
  if (!MayFill(1) || !Refill(1)) return false;
  return Unread() != 0 || (sectionFailed_ && EndBefore(1, false));
}

// Adds bytes behind the unread ones, until there are `minBytes` or no more come. False after a failure.
bool FileReader::Refill(unsigned minBytes) noexcept {
  unsigned char* const buffer = Buffer();
  const std::size_t old = Unread();
  if (old != 0) std::memmove(buffer, next_, old);
  Hold(buffer, old);
  do {
    const std::size_t unread = Unread();
    std::size_t count = 0;
    const bool good = TakeFromSource(buffer + unread, file_->ReadAhead() - unread, minBytes - unread, &count);
    end_ += count;
    if (!good) return false;
  } while (Unread() < minBytes && !atFileEnd_ && !(compressed_ && atSectionEnd_));
  return true;
}

unsigned char* FileReader::Buffer() noexcept {
  return compressed_ ? section_->Buffer() : file_->Buffer();
}

// Up to `room` bytes of the file, by one call, or of the section. False after a failure; bytes may have come
// all the same.
bool FileReader::TakeFromSource(unsigned char* target, std::size_t room, std::size_t needed,
                                std::size_t* count) noexcept {
  if (compressed_) return TakeFromSection(target, room, needed, count);
  const os::SystemError error = file_->Read(target, room, count);
  if (error != os::kSuccess) return Fail("FillBuffer() failed to read (%d).\n", static_cast<int>(error));
  atFileEnd_ = *count == 0;
  return true;
}

// What was unpacked before a fault is good: as long as `needed` bytes came the fault is not told, but found
// again by the next call.
bool FileReader::TakeFromSection(unsigned char* target, std::size_t room, std::size_t needed,
                                 std::size_t* count) noexcept {
  using Stop = internal::ReaderSection::Stop;
  const Stop stop = section_->Inflate(*file_, target, room, count);
  sectionBytes_ += static_cast<std::int64_t>(*count);
  atSectionEnd_ = stop == Stop::kEnd;
  if (stop == Stop::kFull || stop == Stop::kEnd) return true;
  if (*count >= needed && stop != Stop::kReadFailed) return true;
  sectionFailed_ = true;
  error_ = true;
  if (stop == Stop::kReadFailed) return Fail("FillBuffer() failed to read (%d).\n", section_->Code());
  if (stop == Stop::kDamaged) return Fail("FillBuffer() failed inflate data (%d).\n", section_->Code());
  atFileEnd_ = true;
  return true;
}

// Whether so many bytes should be read without the detour through the buffer.
bool FileReader::IsWorthPassingBuffer(std::uint64_t size) const noexcept {
  return IsOpen() && Unread() == 0 && size >= file_->ReadAhead();
}

// Reads up to `count` values of `width` bytes to where they belong; *done is how many, also after a failure
// that came behind them. The part of one more that may come goes into the empty buffer. False when an end was
// met or a failure.
bool FileReader::ReadPastBuffer(unsigned char* target, std::size_t count, unsigned width,
                                std::size_t* done) noexcept {
  constexpr std::size_t kMost = std::size_t{1} << 30;
  if (!MayFill(width)) return false;
  std::size_t size = 0;
  const bool good = TakeFromSource(target, std::min(count, kMost / width) * width, 1, &size);
  *done = size / width;
  const std::size_t rest = size % width;
  std::memcpy(Buffer(), target + (size - rest), rest);
  Hold(Buffer(), rest);
  if (!good || size == 0) return good && EndBefore(width, false);
  return size >= width || (Refill(width) && (Unread() >= width || EndBefore(width, true)));
}

// Reads what there is, up to `size` bytes. Neither an end of the file nor one of the section is an error.
std::size_t FileReader::ReadAvailable(void* target, std::size_t size) noexcept {
  auto* const to = static_cast<unsigned char*>(target);
  std::size_t done = 0;
  while (done < size && (Unread() != 0 || Supply())) {
    const std::size_t part = std::min(size - done, Unread());
    std::memcpy(to + done, next_, part);
    next_ += part;
    done += part;
  }
  return done;
}

// Takes so many bytes; false when an end comes before, which is no error.
bool FileReader::Discard(std::uint64_t count) noexcept {
  while (count != 0 && (Unread() != 0 || Supply())) {
    const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, Unread()));
    next_ += part;
    count -= part;
  }
  return count == 0;
}

}  // namespace du
