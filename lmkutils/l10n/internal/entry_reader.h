// Takes a string-resource file apart into its entries. The format is in docs/string-resources.md.
#ifndef LMKUTILS_L10N_INTERNAL_ENTRY_READER_H
#define LMKUTILS_L10N_INTERNAL_ENTRY_READER_H

#include <cstddef>
#include <istream>
#include <string_view>
#include <vector>

namespace du::internal {

// Reads the stream in blocks and holds one block, or one line where a line is longer than that.
class EntryReader {
 public:
  // One line of three fields. The bytes belong to the reader and are gone at the next call of Next; those of
  // the value may be overwritten.
  struct Line {
    std::string_view tag;
    std::string_view key;
    char* value;
    std::size_t valueLength;  // up to the line feed or the first NUL
  };

  explicit EntryReader(std::istream& in);

  // Finds the next complete line of three fields. False at the end of the input, and at a line that is not
  // one: the stream is then put into the failed state. Passes on what the stream throws, and std::bad_alloc.
  bool Next(Line& line);

  // Whether the end of the input stopped the reader, not a bad line or a stream that cannot be read.
  bool ReachedEnd() const noexcept { return atEnd_ && !syntaxError_; }

 private:
  bool Fill();
  void Refuse();
  void SkipByteOrderMark();
  bool SkipBlanksAndComments();
  char* FindLineEnd();
  bool Split(char* lineEnd, Line& line);

  std::istream& in_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // what was read and not yet used is [begin_, end_)
  std::size_t end_ = 0;
  bool exhausted_ = false;  // the stream gives no more,
  bool atEnd_ = false;      // ... since its end was reached
  bool hasNul_ = false;     // there was a NUL byte, somewhere
  // Kept apart from the stream's state, which cannot tell it from the end of the input.
  bool syntaxError_ = false;
};

}  // namespace du::internal

#endif
