#include "lmkutils/files/line_writer.h"

#include <algorithm>
#include <cstring>

#include "lmkutils/files/file_writer.h"

namespace du {

LineWriter::LineWriter(const SmartPtr<FileWriter>& writer) : writer_(writer) {}

LineWriter::~LineWriter() = default;

// In pieces that the writer's count can hold.
bool LineWriter::Write(const char* bytes, std::size_t size) {
  constexpr std::size_t kLargestPiece = 1u << 30;
  if (!writer_) return false;
  while (size != 0) {
    const auto piece = static_cast<unsigned>(std::min(size, kLargestPiece));
    const unsigned written = writer_->Write(bytes, piece);
    bytesWritten_ += written;
    if (written != piece) return false;
    bytes += piece;
    size -= piece;
  }
  return true;
}

bool LineWriter::WriteLine(const char* text, std::size_t size) {
  if (!Write(text, size) || !Write("\n", 1)) return false;
  ++linesWritten_;
  return true;
}

bool LineWriter::WriteLine(const std::string& text) {
  return WriteLine(text.data(), text.size());
}

bool LineWriter::WriteLine(const char* text) {
  return text != nullptr && WriteLine(text, std::strlen(text));
}

bool LineWriter::WriteBinary(const unsigned char* bytes, unsigned size) {
  return bytes == nullptr || size == 0 || Write(reinterpret_cast<const char*>(bytes), size);
}

}  // namespace du
