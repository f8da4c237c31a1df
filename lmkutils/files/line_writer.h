#ifndef LMKUTILS_FILES_LINE_WRITER_H
#define LMKUTILS_FILES_LINE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "lmkutils/export.h"
#include "lmkutils/memory/smart_ptr.h"

namespace du {

class FileWriter;

// Writes lines of text, which end in a single LF on every target, and bytes in between, through a FileWriter
// that it shares with others.
//
// The caller owns it. The writer's buffer stands between it and the file: errors may show up later, at the
// latest when the writer is closed. One thread at a time uses both.
class LMK_API LineWriter {
 public:
  // Without a writer all that writes something fails.
  explicit LineWriter(const SmartPtr<FileWriter>& writer);
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;
  ~LineWriter();

  // The bytes of the text as they are, NULs of a std::string and line feeds too, then LF. False when not all
  // could be written, and for null.
  bool WriteLine(const std::string& text);
  bool WriteLine(const char* text);

  // The bytes alone. Null or a size of 0 succeeds.
  bool WriteBinary(const unsigned char* bytes, unsigned size);

  // What the writer has taken so far: all bytes, and lines that are whole.
  [[nodiscard]] std::uint64_t GetBytesWritten() const noexcept { return bytesWritten_; }
  [[nodiscard]] std::uint64_t GetLinesWritten() const noexcept { return linesWritten_; }

 private:
  bool Write(const char* bytes, std::size_t size);
  bool WriteLine(const char* text, std::size_t size);

  SmartPtr<FileWriter> writer_;
  std::uint64_t bytesWritten_ = 0;
  std::uint64_t linesWritten_ = 0;
};

}  // namespace du

#endif
