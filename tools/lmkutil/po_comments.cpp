#include "tools/lmkutil/po_comments.h"

#include <array>
#include <utility>

namespace lmkutil {
namespace {

constexpr char kBefore = '|';
constexpr char kBehind = '>';
constexpr char kEnd = '|';
constexpr std::string_view kPlain = "# ";
constexpr std::array<std::string_view, 2> kOwnKeys{"comment", "note"};

std::string OwnLine(const std::string& tag, std::string_view key, const std::string& value) {
  return tag + "." + std::string(key) + "=" + value;
}

// The key that a comment of an own line begins with; empty when it begins with none.
std::string_view OwnKey(std::string_view comment) {
  for (const std::string_view key : kOwnKeys) {
    if (comment.starts_with(key) && comment.substr(key.size()).starts_with(":")) return key;
  }
  return {};
}

// Gettext takes a backslash at the end of a line as joining it with the next one, even in comments, and
// editors take blanks away there.
bool EndsSafely(std::string_view text) {
  return !text.empty() && std::string_view("\\ \t\v\f\r").find(text.back()) == text.npos;
}

// Lines that the library passes over; others in a comment would spoil the file.
bool CountsForNothing(const StringLine& line) {
  if (line.kind == StringLine::Kind::kEntry) return !line.IsMessage();
  return line.kind == StringLine::Kind::kBlank || line.text[line.text.find_first_not_of(" \t\v\f\r")] == '#';
}

}  // namespace

std::optional<std::string> PlainComment(const StringLine& line) {
  if (line.kind != StringLine::Kind::kComment || !line.text.starts_with(kPlain) || !EndsSafely(line.text))
    return std::nullopt;
  std::string comment = line.text.substr(kPlain.size());
  const bool isMarked = comment.front() == kBefore || comment.front() == kBehind || !OwnKey(comment).empty();
  return isMarked ? std::nullopt : std::optional(std::move(comment));
}

std::string CommentBefore(const StringLine& line) {
  if (line.text.empty()) return "";
  return PlainComment(line).value_or(kBefore + line.text + kEnd);
}

std::string CommentBehind(const StringLine& line) {
  return kBehind + line.text + kEnd;
}

std::optional<std::string> OwnComment(const StringLine& line, const std::string& tag) {
  if (line.kind != StringLine::Kind::kEntry || line.tag != tag) return std::nullopt;
  for (const std::string_view key : kOwnKeys) {
    const bool isSafe = line.value.empty() || EndsSafely(line.value);
    if (isSafe && line.key == key && line.text == OwnLine(tag, key, line.value))
      return line.key + ":" + (line.value.empty() ? "" : " " + line.value);
  }
  return std::nullopt;
}

CommentedLine LineOfComment(const std::string& comment, const std::string& tag) {
  using Place = CommentedLine::Place;
  if (comment.empty()) return {Place::kBefore, {}};
  const bool isMarked = comment.front() == kBefore || comment.front() == kBehind;
  if (isMarked && comment.size() > 1 && comment.back() == kEnd) {
    StringLine line = ParseStringLine(std::string_view(comment).substr(1, comment.size() - 2));
    if (line.IsMessage() && line.tag == tag) return {Place::kMessage, std::move(line)};
    if (CountsForNothing(line))
      return {comment.front() == kBefore ? Place::kBefore : Place::kBehind, std::move(line)};
  }
  if (const std::string_view key = OwnKey(comment); !key.empty()) {
    const std::size_t blank = comment.substr(key.size() + 1).starts_with(' ') ? 1 : 0;
    return {Place::kBehind, ParseStringLine(OwnLine(tag, key, comment.substr(key.size() + 1 + blank))), true};
  }
  return {Place::kBefore, ParseStringLine(std::string(kPlain) + comment)};
}

}  // namespace lmkutil
