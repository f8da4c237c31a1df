#ifndef LMKUTILS_FILES_LINE_READER_H
#define LMKUTILS_FILES_LINE_READER_H

#include <cstddef>
#include <memory>
#include <string>

#include "lmkutils/export.h"

namespace du {

class FileReader;

namespace internal {
class LineReaderState;
}  // namespace internal

// Splits what a FileReader delivers into lines, which end in LF or CR LF; raw bytes can be read in between.
//
// When the first bytes that are taken begin with a byte order mark, the text is UTF-8 or UTF-16 of either
// order, and the mark belongs to no line; otherwise it is plain bytes. A mark is looked for only when at
// least four bytes can be had, and not when ReadBinary has taken the first ones.
//
// The caller owns it, and the reader, which must outlive it. Bytes are taken from the reader 4096 at a time,
// so that its position is mostly beyond the current line: nobody else should read from it, nor move it,
// meanwhile. One thread at a time uses both.
//
// All that is read stands in one buffer until the next ReadLine or ReadBinary. Both throw std::bad_alloc when
// it cannot grow; SeekToBufferStart goes back to the start of such a line. At the end of the file the reader
// tells whether it was one (FileReader::IsError).
class LMK_API LineReader {
 public:
  // At most `byteLimit` bytes are taken from the reader, a mark included; without a limit when that is 0 or
  // less. Null is a reader at its end. Throws std::bad_alloc.
  explicit LineReader(FileReader* reader, int byteLimit = 0);
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;
  ~LineReader();

  // Reads the next line. LF is not part of it, nor is one CR immediately before that; any other CR is. True
  // for the end of a file without LF too, if at least one character is left; half a unit of UTF-16 is none.
  // False at the end: the line is empty then.
  bool ReadLine();

  // What has been read last: the bytes of a line, or units of UTF-16 in the machine's byte order; a zero
  // byte, or unit, follows. Valid until the next ReadLine or ReadBinary.
  [[nodiscard]] const char* GetBuffer() const noexcept;
  [[nodiscard]] const unsigned char* GetBinBuffer() const noexcept;
  // How many bytes that are, also when NULs are among them.
  [[nodiscard]] std::size_t GetSize() const noexcept;
  // The line as it is, or converted from UTF-16 to UTF-8, with U+FFFD for a surrogate without its other half.
  // Throws std::bad_alloc.
  [[nodiscard]] std::string GetString() const;

  // Reads the next `count` bytes as they are, also from the middle of a unit. Returns how many; fewer at the
  // end of the file or at the limit.
  unsigned long ReadBinary(unsigned long count);

  // Goes back to the start of the line that the last ReadLine has read, behind a mark: the next one reads it
  // again. Does nothing before the first line, nor when the reader cannot go back so far (in a compressed
  // section, beyond the bytes that were taken together). Always false.
  bool SeekToBufferStart();

 private:
  std::unique_ptr<internal::LineReaderState> state_;
};

}  // namespace du

#endif
