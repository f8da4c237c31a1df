// Reading of binary files.
#ifndef LMKUTILS_FILES_FILE_READER_H
#define LMKUTILS_FILES_FILE_READER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "lmkutils/export.h"
#include "lmkutils/files/byte_order.h"
#include "lmkutils/text/symbol.h"

namespace du {

namespace internal {
class ReaderFile;
class ReaderSection;
struct FileReaderAccess;
}  // namespace internal

// Reads a file of numbers in a chosen byte order, through a buffer. In the middle of the file there may be
// compressed sections, which are read like the rest between StartCompressedSection and EndCompressedSection;
// docs/gzip-sections.md has their format.
//
//   du::FileReader reader;
//   int count;
//   if (!reader.Open(path, 1) || !reader.Read(count)) ...
//   if (!reader.StartCompressedSection() || reader.Read(values, n) != n ||
//   !reader.EndCompressedSection(true)) ...
//
// The caller owns it. Different threads may use different readers, one thread at a time each one.
//
// Nothing throws for a failure of a file: an operation returns false, or a smaller count, and sets the error
// bit, which stays until the next Open; the reason is traced under "FileReader". A value that cannot be read
// leaves its target as it was, and the position too. The end of the file is no error at first: the read that
// gets nothing more of the file returns false and sets only IsEOF; one more sets the error bit. The end of a
// section, which whoever reads it has to know, is an error, as is that of a file which gives some more bytes,
// but too few for the value.
class LMK_API FileReader {
 public:
  static constexpr unsigned kDefaultBufferSize = 65536;

  FileReader() noexcept;
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;
  virtual ~FileReader();

  // Opens a file (UTF-8, paths of any length) at its beginning, after closing the one that is open. `endian`
  // is the byte order of the file: 0 little-endian, 1 big-endian, any other leaves what was set before
  // (little-endian in a new reader). The buffer has at least 1024 bytes, and at most 64 MiB; it is kept from
  // one file to the next while the size stays the same. False, with the error bit set and the reader closed,
  // when the file cannot be opened or is a directory. Throws std::bad_alloc.
  bool Open(const char* path, int endian = 0, unsigned bufferSize = kDefaultBufferSize);
  bool Open(const std::string& path, int endian = 0, unsigned bufferSize = kDefaultBufferSize);
  bool Open(const Symbol& path, int endian = 0, unsigned bufferSize = kDefaultBufferSize);
  // The same; the text is what GetSourceFileBaseUrl returns, which is empty after the others.
  bool Open(const Symbol& path, const std::string& sourceFileBaseUrl, int endian, unsigned bufferSize);
  // Ends a section that is open, without skipping to its end.
  void Close() noexcept;
  bool IsOpen() const noexcept;
  // Of the file that was opened last, or was to be opened.
  const std::string& GetName() const noexcept { return name_; }
  const std::string& GetSourceFileBaseUrl() const noexcept { return sourceFileBaseUrl_; }

  // -- Byte order: 0 little-endian, 1 big-endian. It may be changed anywhere in a file.

  bool SetEndian(int endian) noexcept;  // false, and nothing changed, for any other code
  int GetEndian() const noexcept { return bigEndian_ ? 1 : 0; }
  int GetSystemEndian() const noexcept { return IsSystemBigEndian() ? 1 : 0; }
  bool IsBigEndian() const noexcept { return bigEndian_; }
  bool IsLittleEndian() const noexcept { return !bigEndian_; }
  bool IsSystemBigEndian() const noexcept { return systemBigEndian_; }
  bool IsSystemLittleEndian() const noexcept { return !systemBigEndian_; }
  bool MustSwapBytes() const noexcept { return mustSwap_; }

  // -- One value

  bool Read(char& value) noexcept { return Read1Byte(&value); }
  bool Read(unsigned char& value) noexcept { return Read1Byte(&value); }
  bool Read(short& value) noexcept { return Read2Byte(&value); }
  bool Read(unsigned short& value) noexcept { return Read2Byte(&value); }
  bool Read(int& value) noexcept { return Read4Byte(&value); }
  bool Read(unsigned int& value) noexcept { return Read4Byte(&value); }
  bool Read(float& value) noexcept { return Read4Byte(&value); }
  bool Read(double& value) noexcept { return Read8Byte(&value); }
  bool Read(std::int64_t& value) noexcept { return Read8Byte(&value); }
  bool Read(std::uint64_t& value) noexcept { return Read8Byte(&value); }
  // One byte; any but 0 is true.
  bool Read(bool& value) noexcept;

  // -- `count` values; how many were read. A value of which the file has only a part is not read, and stays
  // unread. 0 for null.

  unsigned Read(char* values, unsigned count) noexcept { return Read1ByteArray(values, count); }
  unsigned Read(unsigned char* values, unsigned count) noexcept { return Read1ByteArray(values, count); }
  unsigned Read(short* values, unsigned count) noexcept { return Read2ByteArray(values, count); }
  unsigned Read(unsigned short* values, unsigned count) noexcept { return Read2ByteArray(values, count); }
  unsigned Read(int* values, unsigned count) noexcept { return Read4ByteArray(values, count); }
  unsigned Read(unsigned int* values, unsigned count) noexcept { return Read4ByteArray(values, count); }
  unsigned Read(float* values, unsigned count) noexcept { return Read4ByteArray(values, count); }
  unsigned Read(double* values, unsigned count) noexcept { return Read8ByteArray(values, count); }
  unsigned Read(std::int64_t* values, unsigned count) noexcept { return Read8ByteArray(values, count); }
  unsigned Read(std::uint64_t* values, unsigned count) noexcept { return Read8ByteArray(values, count); }

  // All that is left of the file, or of the section; empty when nothing is. That is no error. Throws
  // std::bad_alloc or std::length_error when it does not fit into memory.
  std::string ReadRemainingContents();

  // -- Position, in bytes from the beginning of the file

  // Of the next byte. Inside a section: where that began, and the plain bytes taken from it.
  std::int64_t GetPosition() const noexcept;
  // Where the data ends that has been read from the file so far, most of which the buffer may still hold.
  std::int64_t GetFilePos() const noexcept;
  // Any position from 0 on, also one beyond the end, where the next read meets the end of the file. Inside a
  // section these return false and do nothing, without an error.
  bool SetPosition(std::int64_t position) noexcept;
  bool Rewind() noexcept { return SetPosition(0); }
  bool Rewind(std::int64_t count) noexcept;  // so many bytes back
  // So many bytes on; inside a section they are read and dropped, and must be there.
  bool Forward(std::int64_t count) noexcept;
  bool SkipBytes(std::int64_t count) noexcept { return Forward(count); }
  bool SkipUInt16s(std::int64_t count) noexcept { return Skip(count, 2); }
  bool SkipFloats(std::int64_t count) noexcept { return Skip(count, 4); }
  bool SkipDoubles(std::int64_t count) noexcept { return Skip(count, 8); }

  // -- Compressed sections

  // Start one at the position: a gzip member, or a zlib stream where the gzip magic is missing. Until
  // EndCompressedSection all reads give its plain bytes. False, with the error bit set and the position as it
  // was, when its header is cut or none that gzip allows, when there is no memory, and inside a section.
  bool StartCompressedSection() noexcept;
  // The same for a section of which at most `compressedLength` bytes behind the gzip header are read, be it
  // exactly its deflate data or more; without the header for a zlib stream. False at once for 0.
  bool StartCompressedSection(unsigned compressedLength) noexcept;
  // Goes back to plain reading. With `skipToEnd` the position is behind the section, trailer included; else
  // it is behind what has been unpacked so far, which depends on the size of the buffer: only SetPosition
  // makes sense then. The checksum and the length in a gzip trailer are not verified. False when the section
  // is damaged, or cut before the end that was to be skipped to, and outside a section.
  bool EndCompressedSection(bool skipToEnd) noexcept;
  bool IsCompressed() const noexcept { return compressed_; }

  // -- State

  // A read has met the end of the file. SetPosition and what builds on it take that back.
  bool IsEOF() const noexcept { return atFileEnd_; }
  bool IsError() const noexcept { return error_; }

 private:
  friend struct internal::FileReaderAccess;

  bool Read1Byte(void* value) noexcept { return ReadNumber<std::uint8_t>(value); }
  bool Read2Byte(void* value) noexcept { return ReadNumber<std::uint16_t>(value); }
  bool Read4Byte(void* value) noexcept { return ReadNumber<std::uint32_t>(value); }
  bool Read8Byte(void* value) noexcept { return ReadNumber<std::uint64_t>(value); }
  unsigned Read1ByteArray(void* values, unsigned count) noexcept;
  unsigned Read2ByteArray(void* values, unsigned count) noexcept;
  unsigned Read4ByteArray(void* values, unsigned count) noexcept;
  unsigned Read8ByteArray(void* values, unsigned count) noexcept;

  // The position is stored last: the compiler then knows it in the next round of a loop, whatever `value`
  // may overlap.
  template <class Word>
  bool ReadNumber(void* value) noexcept {
    if (Unread() < sizeof(Word) && !FillBuffer(sizeof(Word))) return false;
    const unsigned char* const from = next_;
    Word word;
    std::memcpy(&word, from, sizeof(word));
    if (mustSwap_) word = internal::ByteSwapped(word);
    std::memcpy(value, &word, sizeof(word));
    next_ = from + sizeof(word);
    return true;
  }
  template <class Word>
  unsigned ReadArray(void* values, unsigned count) noexcept;
  template <class Word>
  std::size_t TakeUnread(void* target, std::size_t count) noexcept;

  bool OpenFile(std::string path, std::string sourceFileBaseUrl, int endian, unsigned bufferSize);
  bool Skip(std::int64_t count, int width) noexcept;

  std::size_t Unread() const noexcept { return static_cast<std::size_t>(end_ - next_); }
  void Hold(const unsigned char* bytes, std::size_t size) noexcept;
  bool Fail(const char* format, int number) noexcept;
  bool FillBuffer(unsigned minBytes) noexcept;
  bool MayFill(unsigned minBytes) noexcept;
  bool EndBefore(unsigned minBytes, bool someCame) noexcept;
  bool Supply() noexcept;
  bool Refill(unsigned minBytes) noexcept;
  unsigned char* Buffer() noexcept;
  bool TakeFromSource(unsigned char* target, std::size_t room, std::size_t needed,
                      std::size_t* count) noexcept;
  bool TakeFromSection(unsigned char* target, std::size_t room, std::size_t needed,
                       std::size_t* count) noexcept;
  bool IsWorthPassingBuffer(std::uint64_t size) const noexcept;
  bool ReadPastBuffer(unsigned char* target, std::size_t count, unsigned width, std::size_t* done) noexcept;
  std::size_t ReadAvailable(void* target, std::size_t size) noexcept;
  bool Discard(std::uint64_t count) noexcept;

  bool StartSection(std::uint64_t limit) noexcept;
  bool ReadSectionHeader(bool* isGzip) noexcept;
  bool SkipHeaderText() noexcept;
  bool LeaveSection() noexcept;

  // What has been read and not been taken is [next_, end_). Outside a section [begin_, end_) is what the
  // buffer holds of the file, up to GetFilePos().
  const unsigned char* next_ = nullptr;
  const unsigned char* end_ = nullptr;
  const unsigned char* begin_ = nullptr;
  bool mustSwap_ = false;
  bool bigEndian_ = false;
  const bool systemBigEndian_;
  bool compressed_ = false;
  bool atSectionEnd_ = false;
  bool sectionFailed_ = false;
  bool atFileEnd_ = false;
  bool error_ = false;
  std::int64_t sectionStart_ = 0;
  std::int64_t sectionBytes_ = 0;  // plain ones, unpacked so far
  std::string name_;
  std::string sourceFileBaseUrl_;
  std::unique_ptr<internal::ReaderFile> file_;        // null until the first Open
  std::unique_ptr<internal::ReaderSection> section_;  // null until the first section
};

}  // namespace du

#endif
