#include "tools/lmkutil/string_file.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "tools/lmkutil/message_lint.h"

#include "lmkutils/text/encoding.h"

namespace lmkutil {
namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";
constexpr std::string_view kStoredKey = "value";

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view TrimmedEnd(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return lower;
}

// How many letters must be changed, added or left out, at most, to make one of the other; counted up to 2.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

// A key that was probably meant to be "value".
bool LooksLikeValue(std::string_view key) {
  const std::string lower = Lower(TrimmedEnd(key.substr(std::min(key.size(), key.find_first_not_of(" \t")))));
  return lower.size() < 12 && Distance(lower, kStoredKey) <= 2;
}

class Reader {
 public:
  Reader(const std::string& path, std::string_view bytes) : bytes_(bytes) { file_.path = path; }

  StringFile Read() {
    if (bytes_.starts_with("\xFF\xFE") || bytes_.starts_with("\xFE\xFF")) {
      Add(0, Severity::kError, "UTF16");
      return std::move(file_);
    }
    SkipByteOrderMark();
    while (!bytes_.empty()) ReadLine();
    if (file_.messages.empty()) {
      lineNumber_ = 1;
      SetLine({});
      Add(0, Severity::kError, "NO_MESSAGE");
    }
    std::stable_sort(file_.findings.begin(), file_.findings.end(), IsBefore);
    return std::move(file_);
  }

 private:
  void SkipByteOrderMark() {
    if (!bytes_.starts_with(kBom[0])) return;
    if (!bytes_.starts_with(kBom)) Add(0, Severity::kError, "BROKEN_BOM");
    const std::string_view mark = bytes_.substr(0, kBom.size());
    lineNumber_ += static_cast<std::size_t>(std::count(mark.begin(), mark.end(), '\n'));
    bytes_.remove_prefix(mark.size());
  }

  // A finding at a byte of the current line.
  void Add(std::size_t offset, Severity severity, const char* tag, std::vector<std::string> args = {}) {
    file_.findings.push_back(
        {std::max<std::size_t>(lineNumber_, 1), ColumnOf(offset), severity, tag, std::move(args)});
  }

  // The column of a byte of the current line. A line of megabytes may have a finding at every other byte,
  // from left to right: counts on from the last one.
  std::size_t ColumnOf(std::size_t offset) {
    if (offset < counted_) counted_ = characters_ = 0;
    characters_ += CharacterCount(line_.substr(counted_, offset - counted_));
    counted_ = offset;
    return characters_ + 1;
  }

  void SetLine(std::string_view line) {
    line_ = line;
    counted_ = characters_ = 0;
  }

  void ReadLine() {
    const std::size_t end = bytes_.find('\n');
    hasLineFeed_ = end != bytes_.npos;
    SetLine(bytes_.substr(0, end));
    bytes_.remove_prefix(hasLineFeed_ ? end + 1 : bytes_.size());
    ++lineNumber_;
    if (line_.ends_with('\r')) line_.remove_suffix(1);
    const du::EncodingResult utf8 = du::CheckUtf8(line_);
    if (!utf8) Add(utf8.position, Severity::kError, "BAD_UTF8", {HexByte(line_[utf8.position])});
    const auto start = std::find_if_not(line_.begin(), line_.end(), IsBlank);
    if (start != line_.end() && *start != '#') ReadEntry(static_cast<std::size_t>(start - line_.begin()));
  }

  void ReadEntry(std::size_t start) {
    const std::size_t dot = line_.find('.', start);
    const std::size_t equals = dot != line_.npos ? line_.find('=', dot) : line_.npos;
    const std::string tag(line_.substr(start, dot - start));
    if (const std::size_t nul = tag.find('\0'); nul != tag.npos) {
      Add(start + nul, Severity::kError, "NUL_IN_TAG");
    } else if (equals == line_.npos && !hasLineFeed_) {
      Add(line_.size(), Severity::kError, "LOST_LINE");
    } else if (dot == line_.npos) {
      Add(start, Severity::kError, "NO_DOT");
    } else if (equals == line_.npos) {
      Add(dot + 1, Severity::kError, "NO_EQUALS", {tag});
    } else if (CheckKey(tag, dot + 1, line_.substr(dot + 1, equals - dot - 1))) {
      if (tag != TrimmedEnd(tag)) Add(dot - 1, Severity::kWarning, "TAG_BLANK", {tag});
      ReadMessage(tag, start, equals + 1);
    } else if (line_.substr(dot + 1) == std::string("note=") + kSameNote) {
      file_.meantAsInEnglish.insert(tag);
    }
  }

  // True when the line holds a message.
  bool CheckKey(const std::string& tag, std::size_t offset, std::string_view key) {
    if (key == kStoredKey) return true;
    if (LooksLikeValue(key)) {
      Add(offset, Severity::kError, "MISSPELT_KEY", {std::string(key), tag});
      file_.lost.insert(tag);
    } else if (key != "comment" && key != "note") {
      Add(offset, Severity::kError, "UNKNOWN_KEY", {std::string(key)});
    }
    return false;
  }

  void ReadMessage(const std::string& tag, std::size_t tagOffset, std::size_t valueOffset) {
    if (!hasLineFeed_) {
      Add(line_.size(), Severity::kError, "LOST_MESSAGE", {tag});
      file_.lost.insert(tag);
    } else if (const auto [first, isNew] = lines_.emplace(tag, lineNumber_); !isNew) {
      Add(tagOffset, Severity::kError, "DUPLICATE", {tag, std::to_string(first->second)});
      return;
    }
    const std::string_view value = line_.substr(valueOffset);
    Message message{tag, lineNumber_, ColumnOf(valueOffset), {}, std::string(value)};
    if (value.empty()) Add(valueOffset, Severity::kWarning, "EMPTY_VALUE", {tag});
    for (TextFault& fault : LintText(value, message.arguments)) {
      Add(valueOffset + fault.offset, fault.severity, fault.tag, std::move(fault.args));
    }
    if (hasLineFeed_) file_.messages.push_back(std::move(message));
  }

  std::string_view bytes_;  // what is still to be read
  std::string_view line_;
  std::size_t lineNumber_ = 0;
  std::size_t counted_ = 0;     // so many bytes of the line
  std::size_t characters_ = 0;  // ... are so many characters
  bool hasLineFeed_ = false;
  std::map<std::string, std::size_t, std::less<>> lines_;  // of the tags
  StringFile file_;
};

}  // namespace

bool IsBefore(const Finding& a, const Finding& b) {
  return a.line != b.line ? a.line < b.line : a.column < b.column;
}

StringFile ReadStringFile(const std::string& path, std::string_view bytes) {
  return Reader(path, bytes).Read();
}

std::string ListPlaceholders(const std::set<long>& arguments) {
  std::string list;
  for (const long argument : arguments) list += (list.empty() ? "{" : " {") + std::to_string(argument) + "}";
  return list;
}

}  // namespace lmkutil
