#include <algorithm>

#include "tools/lmkutil/po_file.h"

namespace lmkutil {
namespace {

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const std::size_t escape = std::string_view("\"\\\n\r\t").find(c);
    if (escape == text.npos) {
      quoted += c;
    } else {
      quoted += '\\';
      quoted += "\"\\nrt"[escape];
    }
  }
  return quoted + "\"";
}

// A text of several lines stands on several lines, as editors and gettext's own tools write it.
std::string Keyword(const char* keyword, std::string_view text) {
  std::string lines = keyword;
  const std::size_t firstBreak = text.find('\n');
  if (firstBreak == text.npos || firstBreak + 1 == text.size()) return lines + " " + Quoted(text) + "\n";
  lines += " \"\"\n";
  while (!text.empty()) {
    const std::size_t lineBreak = text.find('\n');
    const std::size_t length = lineBreak == text.npos ? text.size() : lineBreak + 1;
    lines += Quoted(text.substr(0, length)) + "\n";
    text.remove_prefix(length);
  }
  return lines;
}

std::string Comments(const char* start, const std::vector<std::string>& comments) {
  std::string lines;
  for (const std::string& comment : comments) lines += start + (comment.empty() ? "" : " " + comment) + "\n";
  return lines;
}

std::string Entry(const PoEntry& entry) {
  std::string lines = Comments("#", entry.comments) + Comments("#.", entry.extracted);
  if (!entry.reference.empty()) lines += "#: " + entry.reference + "\n";
  if (!entry.flags.empty()) {
    lines += "#";
    for (const std::string& flag : entry.flags) lines += ", " + flag;
    lines += "\n";
  }
  if (entry.context) lines += Keyword("msgctxt", *entry.context);
  return lines + Keyword("msgid", entry.id) + Keyword("msgstr", entry.translation);
}

}  // namespace

bool PoEntry::HasFlag(std::string_view flag) const {
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

std::string WritePo(const std::vector<PoEntry>& entries) {
  std::string bytes;
  for (const PoEntry& entry : entries) bytes += (bytes.empty() ? "" : "\n") + Entry(entry);
  return bytes;
}

}  // namespace lmkutil
