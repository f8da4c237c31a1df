// String-resource files line by line, with everything that is in them, for what writes such files anew.
#ifndef LMKUTIL_STRING_LINES_H
#define LMKUTIL_STRING_LINES_H

#include <string>
#include <string_view>
#include <vector>

namespace lmkutil {

inline constexpr char kValueKey[] = "value";

struct StringLine {
  enum class Kind { kBlank, kComment, kEntry };

  Kind kind = Kind::kBlank;
  std::string text;  // all of the line, without its line end
  std::string tag;   // of an entry; its value ends at a NUL, as the library reads it
  std::string key;
  std::string value;

  bool IsMessage() const { return kind == Kind::kEntry && key == kValueKey; }
};

// A line that is no entry, and should be one, counts as a comment: the library refuses such a file.
StringLine ParseStringLine(std::string_view text);

struct StringLines {
  std::string mark;            // the byte order mark, or what stands in its place
  std::string lineEnd = "\n";  // that of the first line
  std::vector<StringLine> lines;
  std::string cut;  // what is left of a last line without a line feed; it counts for nothing
};

StringLines SplitStringFile(const std::string& bytes);

// The bytes of the file, its lines as their `text` says; every line with the line end of the first one.
std::string JoinStringFile(const StringLines& file);

// The text that a value stands for, with its placeholders; and a value that stands for the text.
std::string DecodeValue(std::string_view value);
std::string EncodeValue(std::string_view text);

}  // namespace lmkutil

#endif
