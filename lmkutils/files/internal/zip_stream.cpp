#include "lmkutils/files/internal/zip_stream.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/file_status.h"

namespace du::internal {
namespace {

ZipStream& StreamOf(voidpf stream) noexcept {
  return *static_cast<ZipStream*>(stream);
}

// The stream is open already; its address came in place of a path.
voidpf OpenFunction(voidpf /*opaque*/, const void* stream, int /*mode*/) {
  return const_cast<void*>(stream);
}

uLong ReadFunction(voidpf /*opaque*/, voidpf stream, void* target, uLong size) {
  return static_cast<uLong>(StreamOf(stream).Read(target, size));
}

uLong WriteFunction(voidpf /*opaque*/, voidpf stream, const void* bytes, uLong size) {
  return static_cast<uLong>(StreamOf(stream).Write(bytes, size));
}

ZPOS64_T TellFunction(voidpf /*opaque*/, voidpf stream) {
  return StreamOf(stream).Position();
}

long SeekFunction(voidpf /*opaque*/, voidpf stream, ZPOS64_T offset, int origin) {
  return StreamOf(stream).Seek(static_cast<std::int64_t>(offset), origin) ? 0 : -1;
}

// The stream's owner closes it.
int CloseFunction(voidpf /*opaque*/, voidpf /*stream*/) {
  return 0;
}

// Asked after a short read. That of an end of the file must be told too: minizip has the same number for it
// and for success, and would take a record that was cut for one of zeros.
int ErrorFunction(voidpf /*opaque*/, voidpf stream) {
  return StreamOf(stream).HasFailed() || StreamOf(stream).WasCut() ? 1 : 0;
}

}  // namespace

zlib_filefunc64_def ZipStream::Functions() noexcept {
  return {.zopen64_file = OpenFunction,
          .zread_file = ReadFunction,
          .zwrite_file = WriteFunction,
          .ztell64_file = TellFunction,
          .zseek64_file = SeekFunction,
          .zclose_file = CloseFunction,
          .zerror_file = ErrorFunction,
          .opaque = nullptr};
}

bool ZipStream::Note(os::SystemError error) noexcept {
  if (error == os::kSuccess) return true;
  if (!failed_) error_ = error;
  failed_ = true;
  return false;
}

bool ZipStream::MeasureOriginal() noexcept {
  os::FileStatus status;
  if (!Note(os::QueryFileStatus(file_.Get(), &status))) return false;
  originalSize_ = preservedFrom_ = status.size;
  return true;
}

bool ZipStream::OpenForReading(const std::string& path) {
  if (!file_.OpenForReading(path)) return Note(os::LastSystemError());
  return MeasureOriginal();
}

bool ZipStream::OpenForChanging(const std::string& path) {
  os::File file = os::File::kNone;
  if (!Note(TryPath(path, true, [&file](const char* form) { return os::OpenForChanging(form, &file); })))
    return false;
  file_.Take(file);
  return MeasureOriginal();
}

os::SystemError ZipStream::ReadAt(std::uint64_t position, void* target, std::size_t size,
                                  std::size_t* count) noexcept {
  *count = 0;
  const os::SystemError error =
      os::SeekFile(file_.Get(), static_cast<std::int64_t>(position), os::SeekFrom::kStart, nullptr);
  return error != os::kSuccess ? error : file_.Read(target, size, count);
}

bool ZipStream::Load(Page& page, std::uint64_t position) noexcept {
  page.size = 0;
  if (!page.bytes.Allocate(kPageSize)) return Note(os::kErrorNotEnoughMemory);
  page.start = position;
  return Note(ReadAt(position, page.bytes.Get(), kPageSize, &page.size));
}

// Makes the page that holds the position the current one; false at the end of the file.
bool ZipStream::Turn(std::uint64_t position) noexcept {
  if (pages_[current_].Holds(position)) return true;
  if (writing_ && !Flush()) return false;
  current_ ^= 1;
  return pages_[current_].Holds(position) || (position < std::max(originalSize_, end_) &&
                                              Load(pages_[current_], position) && pages_[current_].size != 0);
}

std::size_t ZipStream::Read(void* target, std::size_t size) noexcept {
  auto* const bytes = static_cast<unsigned char*>(target);
  if (size == 1 && pages_[current_].Holds(position_)) {  // of the headers, nearly always
    const Page& page = pages_[current_];
    *bytes = page.bytes.Get()[position_++ - page.start];
    return 1;
  }
  std::size_t done = 0;
  while (done < size && Turn(position_)) {
    const Page& page = pages_[current_];
    const auto offset = static_cast<std::size_t>(position_ - page.start);
    const std::size_t part = std::min(size - done, page.size - offset);
    std::memcpy(bytes + done, page.bytes.Get() + offset, part);
    done += part;
    position_ += part;
  }
  wasCut_ = done < size;
  return done;
}

bool ZipStream::Preserve(std::uint64_t from) noexcept {
  if (from >= preservedFrom_) return true;
  try {
    std::string older(static_cast<std::size_t>(preservedFrom_ - from), '\0');
    std::size_t count = 0;
    if (!Note(ReadAt(from, older.data(), older.size(), &count))) return false;
    if (count != older.size()) return Note(os::kErrorIoDevice);
    preserved_.insert(0, older);
    preservedFrom_ = from;
    return true;
  } catch (const std::exception&) {
    return Note(os::kErrorNotEnoughMemory);
  }
}

bool ZipStream::Flush() noexcept {
  Page& page = pages_[current_];
  writing_ = false;
  if (page.size == 0) return true;
  const std::size_t size = std::exchange(page.size, 0);
  if (!Preserve(page.start)) return false;
  changed_ = true;
  const auto start = static_cast<std::int64_t>(page.start);
  return Note(os::SeekFile(file_.Get(), start, os::SeekFrom::kStart, nullptr)) &&
         Note(file_.Write(page.bytes.Get(), size));
}

std::size_t ZipStream::Write(const void* bytes, std::size_t size) noexcept {
  if (discarding_) return size;
  if (failed_) return 0;
  if (!writing_) {
    for (Page& page : pages_) page.size = 0;  // what was read is about to change
    writing_ = true;
  }
  Page& page = pages_[current_];
  if (!page.bytes.Allocate(kPageSize)) {
    Note(os::kErrorNotEnoughMemory);
    return 0;
  }
  for (std::size_t done = 0; done < size;) {
    const bool joins = position_ >= page.start && position_ - page.start <= page.size;
    if (page.size != 0 && (!joins || position_ - page.start == kPageSize)) {
      if (!Flush()) return 0;
      writing_ = true;
    }
    if (page.size == 0) page.start = position_;
    const auto offset = static_cast<std::size_t>(position_ - page.start);
    const std::size_t part = std::min(size - done, kPageSize - offset);
    std::memcpy(page.bytes.Get() + offset, static_cast<const unsigned char*>(bytes) + done, part);
    page.size = std::max(page.size, offset + part);
    done += part;
    position_ += part;
  }
  end_ = std::max(end_, position_);
  return size;
}

bool ZipStream::Seek(std::int64_t offset, int origin) noexcept {
  std::uint64_t base = 0;
  if (origin == ZLIB_FILEFUNC_SEEK_CUR) base = position_;
  if (origin == ZLIB_FILEFUNC_SEEK_END) base = std::max(originalSize_, end_);
  const std::uint64_t target = base + static_cast<std::uint64_t>(offset);
  if (target > static_cast<std::uint64_t>(INT64_MAX)) return false;  // also before the start
  position_ = target;
  return true;
}

bool ZipStream::Finish() noexcept {
  if (writing_ && !Flush()) return false;
  if (failed_) return false;
  if (!changed_ || end_ >= originalSize_) return true;
  return Note(os::ResizeFile(file_.Get(), static_cast<std::int64_t>(end_)));
}

bool ZipStream::Restore() noexcept {
  writing_ = false;
  if (!changed_ || !file_.IsOpen()) return true;
  const auto from = static_cast<std::int64_t>(preservedFrom_);
  return os::SeekFile(file_.Get(), from, os::SeekFrom::kStart, nullptr) == os::kSuccess &&
         file_.Write(preserved_.data(), preserved_.size()) == os::kSuccess &&
         os::ResizeFile(file_.Get(), static_cast<std::int64_t>(originalSize_)) == os::kSuccess;
}

}  // namespace du::internal
