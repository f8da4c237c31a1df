#include "tools/lmkutil/po_original.h"

#include <utility>

namespace lmkutil {
namespace {

// Gettext takes a backslash at the end of a line as joining it with the next one, even in comments.
std::string Ended(std::string text) {
  if (text.ends_with('\\')) text += ' ';
  return text;
}

std::string CommentText(const StringLine& line) {
  const std::string text = line.text.substr(line.text.find('#') + 1);
  return Ended(text.substr(text.starts_with(' ') ? 1 : 0));
}

// What the lines "TAG.comment=" and "TAG.note=" tell, wherever they stand.
std::multimap<std::string, std::string> OwnComments(const StringLines& english) {
  std::multimap<std::string, std::string> comments;
  for (const StringLine& line : english.lines) {
    if (line.kind != StringLine::Kind::kEntry || line.IsMessage()) continue;
    comments.emplace(line.tag, Ended(line.key == "comment" ? line.value : line.key + ": " + line.value));
  }
  return comments;
}

PoEntry MakeEntry(const StringLine& line) {
  PoEntry entry;
  entry.context = line.tag;
  entry.id = DecodeValue(line.value);
  return entry;
}

}  // namespace

// A comment holds for all messages up to the next empty line.
PoOriginals::PoOriginals(const StringLines& english, const std::string& name) {
  const auto own = OwnComments(english);
  std::vector<std::string> section;
  std::size_t blanks = 0;
  bool isAfterMessage = false;
  for (std::size_t i = 0; i < english.lines.size(); ++i) {
    const StringLine& line = english.lines[i];
    if (line.kind == StringLine::Kind::kBlank) {
      ++blanks;
      section.clear();
    } else if (line.kind == StringLine::Kind::kComment) {
      if (isAfterMessage) section.clear();
      section.push_back(CommentText(line));
    } else if (line.IsMessage()) {
      PoOriginal original{MakeEntry(line), std::exchange(blanks, 0)};
      original.entry.extracted = section;
      const auto [first, last] = own.equal_range(line.tag);
      for (auto comment = first; comment != last; ++comment)
        original.entry.extracted.push_back(comment->second);
      if (!name.empty()) original.entry.reference = name + ":" + std::to_string(i + 1);
      places_.emplace(line.tag, all_.size());
      all_.push_back(std::move(original));
    }
    isAfterMessage = line.IsMessage();
  }
}

std::size_t PoOriginals::Find(const std::string& tag) const {
  const auto found = places_.find(tag);
  return found == places_.end() ? all_.size() : found->second;
}

}  // namespace lmkutil
