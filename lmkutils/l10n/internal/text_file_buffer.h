// A text file as a stream reads it.
#ifndef LMKUTILS_L10N_INTERNAL_TEXT_FILE_BUFFER_H
#define LMKUTILS_L10N_INTERNAL_TEXT_FILE_BUFFER_H

#include <cstddef>
#include <streambuf>
#include <string>
#include <vector>

#include "lmkutils/files/internal/opened_file.h"

namespace du::internal {

// Reads a file in blocks, CR LF as LF on every target; other carriage returns are kept. For a std::istream,
// which is bad, and not at its end, when the file cannot be read to its end.
class TextFileBuffer : public std::streambuf {
 public:
  // False for what is no file with contents or cannot be opened. UTF-8. Throws std::bad_alloc.
  bool Open(const std::string& path);

 protected:
  int_type underflow() override;

 private:
  std::size_t ReadBlock();

  OpenedFile file_;
  std::vector<char> block_;
  bool heldReturn_ = false;  // the last block ended in a carriage return
};

}  // namespace du::internal

#endif
