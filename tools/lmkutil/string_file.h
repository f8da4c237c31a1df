// What "strings check" finds in one file by itself.
#ifndef LMKUTIL_STRING_FILE_H
#define LMKUTIL_STRING_FILE_H

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lmkutil {

enum class Severity { kError, kWarning };

// Line and column count from 1, columns in characters.
struct Finding {
  std::size_t line;
  std::size_t column;
  Severity severity;
  const char* tag;  // of the text that tells it, in the tool's resources
  std::vector<std::string> args;
};

// The order of findings in a report.
bool IsBefore(const Finding& a, const Finding& b);

struct Message {
  std::string tag;
  std::size_t line;
  std::size_t column;        // of the value
  std::set<long> arguments;  // the numbers of its placeholders
  std::string text;          // as it stands in the file
};

struct StringFile {
  std::string path;
  std::vector<Message> messages;  // in file order, without the second of two with the same tag
  std::vector<Finding> findings;  // by line and column
  // Tags of lines that were meant as messages but are none: a finding of its own says why.
  std::set<std::string> lost;
  // Tags with the note kSameNote.
  std::set<std::string> meantAsInEnglish;
  bool isThere = true;     // a file that should be there is reported like one
  bool isRefused = false;  // by the library
};

// "TAG.note=same as English" says that the text of the tag is meant to be that of the English file.
inline constexpr char kSameNote[] = "same as English";

// Reads the bytes of a string-resource file more patiently than du::Lmtrb, which stops at the first fault,
// and notes everything that a translator would want to know.
StringFile ReadStringFile(const std::string& path, std::string_view bytes);

// The placeholders of a text, as a reader sees them: "{0} {2}".
std::string ListPlaceholders(const std::set<long>& arguments);

}  // namespace lmkutil

#endif
