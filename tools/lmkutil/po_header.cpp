#include "tools/lmkutil/po_header.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tools/lmkutil/po_comments.h"

namespace lmkutil {
namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";
constexpr std::string_view kCrLf = "\r\n";
constexpr char kMarkField[] = "X-Lmtrb-Mark";
constexpr char kMarkValue[] = "BOM";
constexpr char kLineEndField[] = "X-Lmtrb-Line-Ends";
constexpr char kLineEndValue[] = "CRLF";

struct Field {
  std::string name;
  std::string value;
};
using Fields = std::vector<Field>;

// What an editor fills in and finds again in the next PO file, in the order of the header.
constexpr std::array<std::string_view, 4> kKept{"Report-Msgid-Bugs-To", "PO-Revision-Date", "Last-Translator",
                                                "Language-Team"};
// Made anew for each PO file.
constexpr std::array<std::string_view, 9> kOurs{
    "Project-Id-Version",        "POT-Creation-Date", "Language", "MIME-Version", "Content-Type",
    "Content-Transfer-Encoding", "X-Generator",       kMarkField, kLineEndField};

// The place among the fields that are kept; editors' own ones follow in any order. -1 for those not kept.
int PlaceOf(const std::string& name) {
  const auto kept = std::find(kKept.begin(), kKept.end(), name);
  if (kept != kKept.end()) return static_cast<int>(kept - kKept.begin());
  const bool isOurs = std::find(kOurs.begin(), kOurs.end(), name) != kOurs.end();
  const bool isOther = name == "Plural-Forms" || (name.starts_with("X-") && !isOurs);
  return isOther ? static_cast<int>(kKept.size()) : -1;
}

// "Name: value"; without a name when the text is none.
Field ParseField(const std::string& text) {
  const std::size_t colon = text.find(": ");
  if (colon == text.npos || colon + 2 == text.size()) return {};
  return {text.substr(0, colon), text.substr(colon + 2)};
}

// Takes the fields from the end of the comments. They were written there in the order of the header; in
// another order they are comments like others.
Fields TakeFields(std::vector<std::string>& comments) {
  Fields fields;
  auto first = comments.end();
  int place = static_cast<int>(kKept.size());
  for (; first != comments.begin(); --first) {
    Field field = ParseField(*(first - 1));
    const int fieldPlace = PlaceOf(field.name);
    const bool isRepeated = std::any_of(fields.begin(), fields.end(),
                                        [&](const Field& other) { return other.name == field.name; });
    if (fieldPlace < 0 || fieldPlace > place || isRepeated) break;
    place = fieldPlace;
    fields.insert(fields.begin(), std::move(field));
  }
  comments.erase(first, comments.end());
  return fields;
}

std::string TakeValue(Fields& fields, std::string_view name) {
  const auto found =
      std::find_if(fields.begin(), fields.end(), [&](const Field& field) { return field.name == name; });
  if (found == fields.end()) return "";
  std::string value = std::move(found->value);
  fields.erase(found);
  return value;
}

std::string FieldLine(std::string_view name, const std::string& value) {
  return std::string(name) + ": " + value + "\n";
}

std::size_t TakeBlanks(std::vector<std::string>& comments) {
  const std::size_t size = comments.size();
  while (!comments.empty() && comments.back().empty()) comments.pop_back();
  return size - comments.size();
}

std::string HeaderText(Fields fields, const StringLines& file, const std::string& project,
                       const std::string& language) {
  std::string text = FieldLine("Project-Id-Version", project);
  const auto addKept = [&](std::string_view name) { text += FieldLine(name, TakeValue(fields, name)); };
  addKept(kKept[0]);
  text += FieldLine("POT-Creation-Date", "");
  for (std::size_t i = 1; i < kKept.size(); ++i) addKept(kKept[i]);
  text += FieldLine("Language", language) + FieldLine("MIME-Version", "1.0") +
          FieldLine("Content-Type", "text/plain; charset=UTF-8") +
          FieldLine("Content-Transfer-Encoding", "8bit");
  for (const Field& field : fields) text += FieldLine(field.name, field.value);
  if (file.mark == kBom) text += FieldLine(kMarkField, kMarkValue);
  if (file.lineEnd == kCrLf) text += FieldLine(kLineEndField, kLineEndValue);
  return text + FieldLine("X-Generator", "lmkutil " LMKUTIL_VERSION);
}

Fields ParseFields(const std::string& text) {
  Fields fields;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    fields.push_back(ParseField(text.substr(start, end - start)));
    start = end + 1;
  }
  return fields;
}

}  // namespace

std::size_t HeaderLength(const std::vector<StringLine>& lines, std::size_t firstMessage) {
  while (firstMessage > 0 && lines[firstMessage - 1].kind != StringLine::Kind::kBlank) --firstMessage;
  return firstMessage;
}

PoEntry MakeHeader(const StringLines& file, std::size_t length, const std::string& project,
                   const std::string& language) {
  PoEntry header;
  for (std::size_t i = 0; i < length; ++i) header.comments.push_back(CommentBefore(file.lines[i]));
  const std::size_t blanks = TakeBlanks(header.comments);
  header.translation = HeaderText(TakeFields(header.comments), file, project, language);
  header.comments.insert(header.comments.end(), blanks, "");
  return header;
}

StringLines ReadHeader(const PoEntry& header) {
  StringLines file;
  std::vector<std::string> comments = header.comments;
  std::size_t blanks = TakeBlanks(comments);
  for (const Field& field : ParseFields(header.translation)) {
    if (field.name == kMarkField && field.value == kMarkValue) file.mark = kBom;
    if (field.name == kLineEndField && field.value == kLineEndValue) file.lineEnd = kCrLf;
    if (PlaceOf(field.name) < 0) continue;
    comments.push_back(field.name + ": " + field.value);
    blanks = std::max<std::size_t>(blanks, 1);
  }
  comments.insert(comments.end(), blanks, "");
  for (const std::string& comment : comments) {
    CommentedLine commented = LineOfComment(comment, "");
    if (commented.place != CommentedLine::Place::kMessage) file.lines.push_back(std::move(commented.line));
  }
  return file;
}

}  // namespace lmkutil
