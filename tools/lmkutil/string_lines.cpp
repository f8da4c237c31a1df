#include "tools/lmkutil/string_lines.h"

#include <algorithm>

#include "tools/lmkutil/text_file.h"

namespace lmkutil {
namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr std::size_t kMarkLength = 3;

// Escapes and what they stand for, by place.
constexpr std::string_view kEscapes = "\"?\\nrt";
constexpr std::string_view kEscaped = "\"?\\\n\r\t";

}  // namespace

StringLine ParseStringLine(std::string_view text) {
  StringLine line;
  line.text = text;
  const std::size_t start = text.find_first_not_of(kBlanks);
  if (start == text.npos) return line;
  line.kind = StringLine::Kind::kComment;
  if (text[start] == '#') return line;
  const std::size_t dot = text.find('.', start);
  const std::size_t equals = dot != text.npos ? text.find('=', dot) : text.npos;
  if (equals == text.npos) return line;
  line.kind = StringLine::Kind::kEntry;
  line.tag = text.substr(start, dot - start);
  line.key = text.substr(dot + 1, equals - dot - 1);
  const std::string_view value = text.substr(equals + 1);
  line.value = value.substr(0, value.find('\0'));
  return line;
}

StringLines SplitStringFile(const std::string& bytes) {
  StringLines file;
  const std::size_t firstEnd = bytes.find('\n');
  if (firstEnd != bytes.npos && firstEnd > 0 && bytes[firstEnd - 1] == '\r') file.lineEnd = "\r\n";
  const std::string text = WithoutCarriageReturns(bytes);
  std::string_view rest = text;
  if (rest.starts_with('\xEF')) {
    file.mark = rest.substr(0, kMarkLength);
    rest.remove_prefix(file.mark.size());
  }
  for (std::size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
    file.lines.push_back(ParseStringLine(rest.substr(0, end)));
    rest.remove_prefix(end + 1);
  }
  file.cut = rest;
  return file;
}

std::string JoinStringFile(const StringLines& file) {
  std::string bytes = file.mark;
  for (const StringLine& line : file.lines) bytes += line.text + file.lineEnd;
  return bytes + file.cut;
}

std::string DecodeValue(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const bool isLast = i + 1 == value.size();
    const std::size_t escape = value[i] == '\\' && !isLast ? kEscapes.find(value[i + 1]) : value.npos;
    text += escape != value.npos ? kEscaped[escape] : value[i];
    if (escape != value.npos) ++i;
  }
  return text;
}

std::string EncodeValue(std::string_view text) {
  std::string value;
  for (const char c : text) {
    const std::size_t escape = std::string_view("\\\n\r\t").find(c);
    if (escape == text.npos) {
      value += c;
    } else {
      value += '\\';
      value += "\\nrt"[escape];
    }
  }
  return value;
}

}  // namespace lmkutil
