#include "lmkutils/trace/internal/record_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "lmkutils/text/encoding.h"
#include "lmkutils/time/internal/instant_text.h"
#include "lmkutils/trace/internal/type_name.h"

namespace dp::internal {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::size_t kTypeWidth = 7;

std::string_view View(const char* text) {
  return text != nullptr ? text : std::string_view();
}

std::string_view TypeName(const TraceFormatter& record) {
  const char* const name = TypeNameOrNull(record.GetType());
  return name != nullptr ? name : "Info";
}

void AppendNumber(int number, std::string& out) {
  std::array<char, 12> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  out.append(digits.data(), end.ptr);
}

void AppendLocalTime(std::int64_t time, std::string& out) {
  std::array<char, du::internal::kInstantTextSize> text;
  out.append(text.data(), du::internal::WriteLocalInstant(time, text.data()));
}

void AppendUtcTime(std::int64_t time, std::string& out) {
  std::array<char, du::internal::kInstantTextSize> text;
  out.append(text.data(), du::internal::WriteUtcInstant(time, text.data()));
}

void AppendWithoutLineFeeds(std::string_view text, std::string& out) {
  const std::size_t start = out.size();
  out.append(text);
  for (std::size_t at = out.find('\n', start); at != out.npos; at = out.find('\n', at)) out[at] = ' ';
}

// Bytes that cannot be copied as they are, by value. Those of characters beyond ASCII are among them, since
// they may not be UTF-8.
using SpecialBytes = std::array<bool, 256>;

constexpr SpecialBytes MakeSpecialBytes(std::string_view characters) {
  SpecialBytes special{};
  for (std::size_t i = 0; i < special.size(); ++i) special[i] = i < 0x20 || i >= 0x80;
  for (const char c : characters) special[static_cast<unsigned char>(c)] = true;
  return special;
}

constexpr SpecialBytes kJsonSpecial = MakeSpecialBytes("\"\\");
constexpr SpecialBytes kXmlSpecial = MakeSpecialBytes("&<>'\"");

bool HasSpecial(std::string_view text, const SpecialBytes& special) {
  return std::any_of(text.begin(), text.end(),
                     [&special](char c) { return special[static_cast<unsigned char>(c)]; });
}

// Appends well-formed text, each byte replaced for which `replacementOf` gives something. Runs of other bytes
// are copied at once.
template <class Replace>
void AppendReplacing(std::string_view text, const SpecialBytes& special, const Replace& replacementOf,
                     std::string& out) {
  std::size_t run = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!special[static_cast<unsigned char>(text[i])]) continue;
    const std::string_view replacement = replacementOf(text[i]);
    if (replacement.empty()) continue;
    out.append(text, run, i - run).append(replacement);
    run = i + 1;
  }
  out.append(text, run);
}

// Calls append(text) with well-formed UTF-8, a repaired copy if it must be.
template <class Append>
void WithValidUtf8(std::string_view text, const Append& append) {
  if (du::CheckUtf8(text)) {
    append(text);
  } else {
    append(std::string_view(du::RepairUtf8(text)));
  }
}

// "\u00XX" for each character below a blank, or its short form.
using ControlEscapes = std::array<std::array<char, 6>, 0x20>;

constexpr ControlEscapes kControlEscapes = [] {
  ControlEscapes escapes{};
  for (std::size_t i = 0; i < escapes.size(); ++i) {
    const char low = "0123456789abcdef"[i % 16];
    escapes[i] = {'\\', 'u', '0', '0', i < 16 ? '0' : '1', low};
  }
  return escapes;
}();

std::string_view JsonReplacement(char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\b':
      return "\\b";
    case '\f':
      return "\\f";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(c);
  if (byte >= kControlEscapes.size()) return {};
  return {kControlEscapes[byte].data(), kControlEscapes[byte].size()};
}

std::string_view XmlReplacement(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\'':
      return "&apos;";
    case '"':
      return "&quot;";
    case '\t':
    case '\n':
    case '\r':
      return {};
    default:
      return static_cast<unsigned char>(c) < 0x20 ? kReplacement : std::string_view();
  }
}

// U+FFFE and U+FFFF are the only characters beyond the control characters that XML forbids.
void ReplaceNonCharacters(std::string& text, std::size_t start) {
  for (std::size_t at = text.find("\xEF\xBF", start); at != text.npos; at = text.find("\xEF\xBF", at + 3)) {
    if (text[at + 2] == '\xBE' || text[at + 2] == '\xBF') text[at + 2] = '\xBD';
  }
}

void AppendJsonMember(std::string_view name, std::string_view value, std::string& out) {
  out.append(name).append("\"");
  AppendJsonText(value, out);
  out.append("\", ");
}

// An object stays what it is. Control characters may stand between its members as white space, but not inside
// its strings, and would break the line.
void AppendJsonObject(std::string_view object, std::string& out) {
  WithValidUtf8(object, [&out](std::string_view text) {
    const std::size_t start = out.size();
    out.append(text);
    for (std::size_t i = start; i < out.size(); ++i) {
      if (static_cast<unsigned char>(out[i]) < 0x20) out[i] = ' ';
    }
  });
}

void AppendXmlAttribute(std::string_view before, std::string_view value, std::string& out) {
  out.append(before);
  AppendXmlText(value, out);
  out.append("\"");
}

}  // namespace

void AppendJsonText(std::string_view text, std::string& out) {
  if (!HasSpecial(text, kJsonSpecial)) {
    out.append(text);
    return;
  }
  WithValidUtf8(
      text, [&out](std::string_view valid) { AppendReplacing(valid, kJsonSpecial, JsonReplacement, out); });
}

void AppendXmlText(std::string_view text, std::string& out) {
  if (!HasSpecial(text, kXmlSpecial)) {
    out.append(text);
    return;
  }
  const std::size_t start = out.size();
  WithValidUtf8(text,
                [&out](std::string_view valid) { AppendReplacing(valid, kXmlSpecial, XmlReplacement, out); });
  ReplaceNonCharacters(out, start);
}

void AppendPlainLine(const TraceFormatter& record, std::string& out) {
  const std::string_view type = TypeName(record);
  out.append(type).append(kTypeWidth - type.size() + 1, ' ');
  AppendLocalTime(record.GetTime(), out);
  out.push_back(' ');
  AppendNumber(record.GetProcId(), out);
  out.push_back(' ');
  AppendNumber(record.GetThreadId(), out);
  out.push_back(' ');
  AppendWithoutLineFeeds(View(record.GetKey()), out);
  out.push_back(' ');
  AppendWithoutLineFeeds(View(record.GetSubKey()), out);
  out.push_back(' ');
  AppendWithoutLineFeeds(record.GetText(), out);
  out.push_back('\n');
}

void AppendJsonLine(const TraceFormatter& record, std::string_view trackingId, std::string& out) {
  AppendJsonMember("{\"level\" :", record.GetLevel(), out);
  AppendJsonMember("\"trackingId\" :", trackingId, out);
  AppendJsonMember("\"subkey\" :", View(record.GetSubKey()), out);
  AppendJsonMember("\"source\" :", View(record.GetKey()), out);
  out.append("\"threadId\" :");
  AppendNumber(record.GetThreadId(), out);
  out.append(", \"procId\" :");
  AppendNumber(record.GetProcId(), out);
  out.append(", \"time\" :\"");
  AppendUtcTime(record.GetTime(), out);
  const std::string_view text = record.GetText();
  if (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
    out.append("\", \"message\" :");
    AppendJsonObject(text, out);
    out.append("}\n");
  } else {
    out.append("\", \"message\" : \"");
    AppendJsonText(text, out);
    out.append("\"}\n");
  }
}

void AppendXmlElement(const TraceFormatter& record, std::string& out) {
  AppendXmlAttribute("<lmtrace:mesg type = \"", TypeName(record), out);
  out.append(" time = \"");
  AppendLocalTime(record.GetTime(), out);
  out.append("\">\n<lmtrace:id proc = \"");
  AppendNumber(record.GetProcId(), out);
  out.append("\" thread = \"");
  AppendNumber(record.GetThreadId(), out);
  out.append("\"/>\n");
  AppendXmlAttribute("<lmtrace:sourceid source = \"", View(record.GetKey()), out);
  AppendXmlAttribute(" subkey = \"", View(record.GetSubKey()), out);
  out.append("/>\n");
  AppendXmlText(record.GetText(), out);
  out.append("</lmtrace:mesg>\n");
}

}  // namespace dp::internal
