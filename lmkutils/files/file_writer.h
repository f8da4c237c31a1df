// Writing of binary files.
#ifndef LMKUTILS_FILES_FILE_WRITER_H
#define LMKUTILS_FILES_FILE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "lmkutils/export.h"
#include "lmkutils/files/byte_order.h"
#include "lmkutils/memory/ref_counted.h"
#include "lmkutils/memory/smart_ptr.h"

namespace du {

namespace internal {
class WriterFile;
class WriterSection;
}  // namespace internal

// How much time to spend on the size of a compressed section.
enum COMPRESSION_LEVEL {
  DEFAULT_COMPRESSION = 0,  // zlib's default; any other value but the next is as this one
  BEST_COMPRESSION = 1,     // the smallest result: zlib's level 9, which takes some times as long
};

// Writes a file of numbers in a chosen byte order, through a buffer: the counterpart of FileReader. Between
// StartCompressedSection and EndCompressedSection what is written becomes a gzip member in the middle of the
// file; docs/gzip-sections.md has its format.
//
// Made by Construct only, and shared by du::SmartPtr; the last holder closes the file. Close it yourself to
// hear whether all of it was written. Different threads may use different writers, one thread at a time each
// one.
//
// Nothing throws for a failure of a file: an operation returns false, or a smaller count, and sets the error
// bit, which stays until the next Open and keeps anything more from being written; the reason is traced under
// "FileWriter". What was written may still be in the buffer: full disks show up late.
class LMK_API FileWriter : public RefCounted {
 public:
  static constexpr unsigned kDefaultBufferSize = 65536;

  // The bits of a writer's state.
  enum Mode : unsigned { kBigEndianFile = 1, kMustSwap = 2, kInCompressedSection = 4, kError = 8 };

  // A closed writer. Throws std::bad_alloc.
  static SmartPtr<FileWriter> Construct();
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;
  ~FileWriter() override;

  // Opens a file (UTF-8, paths of any length) at its beginning, after closing the one that is open, and makes
  // it when it is missing, for reading and writing by everybody whom the umask does not forbid it. With
  // `truncate` it is emptied; otherwise it is written over, and keeps what lies behind the last byte that is
  // written. `endian` is the byte order of the file: 0 little-endian, 1 big-endian, any other leaves what was
  // set before (little-endian in a new writer). The buffer has at least 1024 bytes, and at most 64 MiB; it is
  // kept from one file to the next while the size stays the same. False, with the error bit set and the
  // writer closed, when the file cannot be opened or made, or is a directory. Throws std::bad_alloc.
  bool Open(const char* path, int endian = 0, unsigned bufferSize = kDefaultBufferSize, bool truncate = true);
  bool Open(const std::string& path, int endian = 0, unsigned bufferSize = kDefaultBufferSize,
            bool truncate = true);
  // Ends a section that is open and writes what is in the buffer. False when the error bit was set, or any of
  // that failed, or the system could not close the file in good order; it is closed in any case. True when
  // none is open.
  bool Close() noexcept;
  bool IsOpen() const noexcept;
  // Of the file that was opened last, or was to be opened.
  const std::string& GetName() const noexcept { return name_; }

  // -- Byte order: 0 little-endian, 1 big-endian. It may be changed anywhere in a file.

  bool SetEndian(int endian) noexcept;  // false, and nothing changed, for any other code
  int GetEndian() const noexcept { return IsBigEndian() ? 1 : 0; }
  bool IsBigEndian() const noexcept { return TestFlag(kBigEndianFile); }
  bool IsLittleEndian() const noexcept { return !IsBigEndian(); }

  // -- One value

  bool Write(const short& value) noexcept { return Write2Byte(&value); }
  bool Write(const int& value) noexcept { return Write4Byte(&value); }
  bool Write(const double& value) noexcept { return Write8Byte(&value); }
  // One byte, 1 or 0.
  bool Write(const bool& value) noexcept;
  // A pointer without a count would be taken for a truth value.
  bool Write(const void*) = delete;

  // -- `count` values; how many have been taken. 0 for null.

  unsigned Write(const char* values, unsigned count) noexcept { return Write1ByteArray(values, count); }
  unsigned Write(const short* values, unsigned count) noexcept { return Write2ByteArray(values, count); }
  unsigned Write(const int* values, unsigned count) noexcept { return Write4ByteArray(values, count); }
  unsigned Write(const double* values, unsigned count) noexcept { return Write8ByteArray(values, count); }

  // Copies all bytes of a file to the position, also into a section; how many these were. 0 when it cannot be
  // read, or is the file that is being written; when it fails halfway the error bit is set.
  std::uint64_t WriteFile(const char* path);

  // -- Position, in bytes from the beginning of the file

  // Of the next byte. Inside a section: where that began, and the plain bytes put into it.
  std::int64_t GetPosition() const noexcept;
  // Any position from 0 on; one beyond the end fills the gap with zeros at the next write. False, without an
  // error, inside a section.
  bool SetPosition(std::int64_t position) noexcept;

  // -- Compressed sections

  // Starts one at the position. False, with the error bit set, when there is no memory, and inside a section.
  bool StartCompressedSection(COMPRESSION_LEVEL level = DEFAULT_COMPRESSION) noexcept;
  // Goes back to plain writing. False when any of the section could not be written, and outside a section.
  bool EndCompressedSection() noexcept;
  bool IsCompressed() const noexcept { return TestFlag(kInCompressedSection); }

  bool IsError() const noexcept { return TestFlag(kError); }

 private:
  FileWriter() noexcept;

  void SetFlag(Mode flag) noexcept { flags_ |= flag; }
  void ClearFlag(Mode flag) noexcept { flags_ &= ~unsigned{flag}; }
  bool TestFlag(Mode flag) const noexcept { return (flags_ & flag) != 0; }
  bool MustSwapBytes() const noexcept { return TestFlag(kMustSwap); }

  bool Write1Byte(const void* value) noexcept { return WriteNumber<std::uint8_t>(value); }
  bool Write2Byte(const void* value) noexcept { return WriteNumber<std::uint16_t>(value); }
  bool Write4Byte(const void* value) noexcept { return WriteNumber<std::uint32_t>(value); }
  bool Write8Byte(const void* value) noexcept { return WriteNumber<std::uint64_t>(value); }
  unsigned Write1ByteArray(const void* values, unsigned count) noexcept;
  unsigned Write2ByteArray(const void* values, unsigned count) noexcept;
  unsigned Write4ByteArray(const void* values, unsigned count) noexcept;
  unsigned Write8ByteArray(const void* values, unsigned count) noexcept;

  // The position is stored last: the compiler then knows it in the next round of a loop.
  template <class Word>
  bool WriteNumber(const void* value) noexcept {
    if (Free() < sizeof(Word) && !FlushBuffer(sizeof(Word), false)) return false;
    unsigned char* const to = next_;
    Word word;
    std::memcpy(&word, value, sizeof(word));
    if (MustSwapBytes()) word = internal::ByteSwapped(word);
    std::memcpy(to, &word, sizeof(word));
    next_ = to + sizeof(word);
    return true;
  }
  template <class Word>
  unsigned WriteArray(const void* values, unsigned count) noexcept;
  template <class Word>
  void PutIntoBuffer(const unsigned char* values, std::size_t count) noexcept;

  std::size_t Free() const noexcept { return static_cast<std::size_t>(end_ - next_); }
  std::size_t Used() const noexcept { return static_cast<std::size_t>(next_ - begin_); }
  void Hold(unsigned char* buffer, std::size_t used, std::size_t size) noexcept;
  bool Break(const char* format, int number) noexcept;
  bool FlushBuffer(unsigned minFree, bool finish) noexcept;
  bool FlushPlain() noexcept;
  bool FlushSection(bool finish) noexcept;
  bool WriteToFile(const unsigned char* bytes, std::size_t size) noexcept;
  bool WritePastBuffer(const unsigned char* values, std::size_t count, unsigned width,
                       std::size_t* done) noexcept;
  bool CopyFrom(const std::string& path, std::uint64_t* count);
  bool AppendTrailer() noexcept;

  // The buffer that is being filled is [begin_, end_), filled up to next_. After a failure, and in a closed
  // writer, it has no room, so that every write comes to FlushBuffer.
  unsigned char* next_ = nullptr;
  unsigned char* end_ = nullptr;
  unsigned char* begin_ = nullptr;
  unsigned flags_ = 0;
  bool broken_ = false;  // a write failed
  std::int64_t sectionStart_ = 0;
  std::string name_;
  std::unique_ptr<internal::WriterFile> file_;        // null until the first Open
  std::unique_ptr<internal::WriterSection> section_;  // null until the first section
};

}  // namespace du

#endif
