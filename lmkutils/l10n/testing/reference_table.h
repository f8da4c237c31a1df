// A second, plain reader of the string-resource format, to compare du::Lmtrb with: one byte at a time,
// nothing clever.
#ifndef LMKUTILS_L10N_TESTING_REFERENCE_TABLE_H
#define LMKUTILS_L10N_TESTING_REFERENCE_TABLE_H

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace lmktest {

struct ReferenceTable {
  std::string error;  // what loading ends with; empty when it succeeds
  std::vector<std::pair<std::string, std::string>> messages;  // tag and unescaped text, in file order
};

inline std::string ReferenceUnescape(const std::string& value) {
  static const std::map<char, char> escapes{{'"', '"'},  {'?', '?'},  {'\\', '\\'},
                                            {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto escape = value[i] == '\\' && i + 1 < value.size() ? escapes.find(value[i + 1]) : escapes.end();
    text += escape != escapes.end() ? escape->second : value[i];
    if (escape != escapes.end()) ++i;
  }
  return text.substr(0, text.find('\0'));
}

// The number of the placeholder that begins at text[at]; nothing when there is none. Numbers stop at 2^31
// - 2.
inline std::optional<long long> ReferencePlaceholder(const std::string& text, std::size_t at,
                                                     std::size_t& end) {
  std::size_t i = at + 1;
  long long number = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    number = number * 10 + (text[i] - '0');
    if (number > 2147483646) number = 2147483646;
  }
  if (text[at] != '{' || i == at + 1 || i >= text.size() || text[i] != '}') return std::nullopt;
  end = i + 1;
  return number;
}

inline long long ReferenceArgumentCount(const std::string& text) {
  long long count = 0;
  std::size_t end = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (const auto number = ReferencePlaceholder(text, i, end)) count = count > *number ? count : *number + 1;
  }
  return count;
}

// With as many arguments as the text takes.
inline std::string ReferenceRender(const std::string& text, const std::vector<std::string>& args) {
  std::string message;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i + 1;
    const auto number = ReferencePlaceholder(text, i, end);
    message += number ? args[static_cast<std::size_t>(*number)] : text.substr(i, 1);
    i = end;
  }
  return message;
}

class ReferenceReader {
 public:
  explicit ReferenceReader(const std::string& bytes) : bytes_(bytes) {}

  ReferenceTable Read() {
    if (!bytes_.empty() && bytes_[0] == '\xEF') at_ = bytes_.size() < 3 ? bytes_.size() : 3;
    while (table_.error.empty() && SkipBlanks() && ReadEntry()) {
    }
    if (table_.error.empty() && table_.messages.empty()) table_.error = kNoContent;
    if (!table_.error.empty()) table_.messages.clear();
    return table_;
  }

 private:
  static constexpr const char* kNoContent = "No recognizable content.";

  bool SkipBlanks() {
    for (; at_ < bytes_.size(); ++at_) {
      if (bytes_[at_] == '#') {
        while (at_ < bytes_.size() && bytes_[at_] != '\n') ++at_;
        if (at_ == bytes_.size()) return false;
      } else if (std::string(" \t\n\v\f\r").find(bytes_[at_]) == std::string::npos) {
        return true;
      }
    }
    return false;
  }
  // Everything up to `end`, which is left behind; false at the end of the input and at a line feed out of
  // place.
  bool ReadField(char end, bool mayHaveNul, std::string& field) {
    for (; at_ < bytes_.size(); ++at_) {
      if (bytes_[at_] == end) return ++at_, true;
      if (bytes_[at_] == '\n' || (bytes_[at_] == '\0' && !mayHaveNul))
        return table_.error = kNoContent, false;
      field += bytes_[at_];
    }
    return false;
  }
  bool ReadEntry() {
    std::string tag, key, value;
    if (!ReadField('.', false, tag) || !ReadField('=', true, key) || !ReadField('\n', true, value))
      return false;
    if (key != "value") return true;
    if (!tags_.insert(tag).second) return table_.error = "Duplicate tag \"" + tag + "\".", false;
    table_.messages.emplace_back(tag, ReferenceUnescape(value));
    return true;
  }

  const std::string& bytes_;
  std::size_t at_ = 0;
  std::set<std::string> tags_;
  ReferenceTable table_;
};

inline ReferenceTable ReadReference(const std::string& bytes) {
  return ReferenceReader(bytes).Read();
}

}  // namespace lmktest

#endif
