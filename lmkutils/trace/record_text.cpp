#include "lmkutils/trace/internal/record_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "lmkutils/text/encoding.h"
#include "lmkutils/trace/internal/type_name.h"

namespace dp::internal {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// More than the fixed texts, the times and the numbers of a record of any form.
constexpr std::size_t kFixedSize = 400;
static_assert(kFixedSize > 250 + 2 * TextBuffer::kNumberSize + RecordTime::kSize);

std::string_view View(const char* text) {
  return text != nullptr ? text : std::string_view();
}

std::string_view TypeName(const TraceFormatter& record) {
  const char* const name = TypeNameOrNull(record.GetType());
  return name != nullptr ? name : "Info";
}

// Each type's name in a field of 7, and the blank behind it.
std::string_view TypeField(const TraceFormatter& record) {
  switch (record.GetType()) {
    case TraceType::Debug:
      return "Debug   ";
    case TraceType::Warning:
      return "Warning ";
    case TraceType::Error:
      return "Error   ";
    default:
      return "Info    ";
  }
}

// In what was put there since `at`.
void BlankLineFeeds(char* at, TextBuffer& out) {
  while ((at = static_cast<char*>(std::memchr(at, '\n', static_cast<std::size_t>(out.End() - at)))) !=
         nullptr)
    *at = ' ';
}

using Word = std::uint64_t;  // eight bytes of a text, in whatever order

constexpr Word EachByte(unsigned char byte) {
  return 0x0101010101010101U * byte;
}

// Bytes that cannot be copied as they are: `characters`, those below a blank, and those of characters beyond
// ASCII, since they may not be UTF-8.
template <char... characters>
struct SpecialBytes {
  static constexpr bool Contains(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte >= 0x80 || ((c == characters) || ...);
  }
  // Whether any of eight is one. A subtraction from a byte that is too small sets its highest bit; it borrows
  // from the next byte, too, but then it is special itself.
  static constexpr bool ContainsAny(Word bytes) {
    const Word small = bytes - EachByte(0x20);
    const Word equal = (((bytes ^ EachByte(characters)) - EachByte(1)) | ... | Word{0});
    return ((bytes | small | equal) & EachByte(0x80)) != 0;
  }
};

using JsonSpecial = SpecialBytes<'"', '\\'>;
using ObjectSpecial = SpecialBytes<>;
using XmlSpecial = SpecialBytes<'&', '<', '>', '\'', '"'>;

Word LoadWord(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

template <class Special>
bool HasSpecial(std::string_view text) {
  if (text.size() < sizeof(Word)) {
    Word word = EachByte(' ');
    for (const char c : text) word = word << 8 | static_cast<unsigned char>(c);
    return Special::ContainsAny(word);
  }
  const char* const last = text.data() + (text.size() - sizeof(Word));
  for (const char* at = text.data(); at < last; at += sizeof(Word))
    if (Special::ContainsAny(LoadWord(at))) return true;
  return Special::ContainsAny(LoadWord(last));
}

// Appends well-formed text, each byte replaced for which `replacementOf` gives something. Runs of other bytes
// are copied at once.
template <class Special, class Replace>
void AppendReplacing(std::string_view text, const Replace& replacementOf, std::string& out) {
  std::size_t run = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!Special::Contains(text[i])) continue;
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
void ReplaceNonCharacters(std::string& text) {
  for (std::size_t at = text.find("\xEF\xBF"); at != text.npos; at = text.find("\xEF\xBF", at + 3)) {
    if (text[at + 2] == '\xBE' || text[at + 2] == '\xBF') text[at + 2] = '\xBD';
  }
}

// An object stays what it is. Control characters may stand between its members as white space, but not inside
// its strings, and would break the line.
std::string_view JsonObject(std::string_view object, std::string& storage) {
  if (!HasSpecial<ObjectSpecial>(object)) return object;
  storage = du::RepairUtf8(object);
  std::replace_if(
      storage.begin(), storage.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  return storage;
}

bool LooksLikeObject(std::string_view text) {
  return text.size() >= 2 && text.front() == '{' && text.back() == '}';
}

// What a JSON record holds of the caller's texts.
struct JsonTexts {
  std::string_view key;
  std::string_view subKey;
  std::string_view message;
  bool isObject;  // the message is one, and no string

  // False, as a rule: all of them can be written as they are.
  bool HaveSpecial() const {
    return HasSpecial<JsonSpecial>(key) || HasSpecial<JsonSpecial>(subKey) ||
           (isObject ? HasSpecial<ObjectSpecial>(message) : HasSpecial<JsonSpecial>(message));
  }
};

void PutJsonLine(const TraceFormatter& record, const JsonTexts& texts, RecordTime& time,
                 std::string_view trackingId, TextBuffer& out) {
  out.Reserve(kFixedSize + trackingId.size() + texts.key.size() + texts.subKey.size() + texts.message.size());
  out.Put("{\"level\" :\"");
  out.Put(LevelName(record.GetType()));
  out.Put("\", \"trackingId\" :\"");
  out.Put(trackingId);
  out.Put("\", \"subkey\" :\"");
  out.Put(texts.subKey);
  out.Put("\", \"source\" :\"");
  out.Put(texts.key);
  out.Put("\", \"threadId\" :");
  out.Put(record.GetThreadId());
  out.Put(", \"procId\" :");
  out.Put(record.GetProcId());
  out.Put(", \"time\" :\"");
  out.PutWith([&](char* at) { return time.Write(record.GetTime(), at); });
  out.Put(texts.isObject ? "\", \"message\" :" : "\", \"message\" : \"");
  out.Put(texts.message);
  out.Put(texts.isObject ? "}\n" : "\"}\n");
}

// Kept apart with all its memory: it is seldom needed.
[[gnu::noinline]] void PutEscapedJsonLine(const TraceFormatter& record, JsonTexts texts, RecordTime& time,
                                          std::string_view trackingId, TextBuffer& out) {
  std::string keyStorage;
  std::string subKeyStorage;
  std::string messageStorage;
  texts.key = JsonEscaped(texts.key, keyStorage);
  texts.subKey = JsonEscaped(texts.subKey, subKeyStorage);
  texts.message =
      texts.isObject ? JsonObject(texts.message, messageStorage) : JsonEscaped(texts.message, messageStorage);
  PutJsonLine(record, texts, time, trackingId, out);
}

}  // namespace

std::string_view JsonEscaped(std::string_view text, std::string& storage) {
  if (!HasSpecial<JsonSpecial>(text)) return text;
  storage.clear();
  WithValidUtf8(text, [&storage](std::string_view valid) {
    AppendReplacing<JsonSpecial>(valid, JsonReplacement, storage);
  });
  return storage;
}

std::string_view XmlEscaped(std::string_view text, std::string& storage) {
  if (!HasSpecial<XmlSpecial>(text)) return text;
  storage.clear();
  WithValidUtf8(text, [&storage](std::string_view valid) {
    AppendReplacing<XmlSpecial>(valid, XmlReplacement, storage);
  });
  ReplaceNonCharacters(storage);
  return storage;
}

void AppendPlainLine(const TraceFormatter& record, RecordTime& time, TextBuffer& out) {
  const std::string_view key = View(record.GetKey());
  const std::string_view subKey = View(record.GetSubKey());
  const std::string_view text = record.GetText();
  out.Reserve(kFixedSize + key.size() + subKey.size() + text.size());
  out.Put(TypeField(record));
  out.PutWith([&](char* at) { return time.Write(record.GetTime(), at); });
  out.Put(' ');
  out.Put(record.GetProcId());
  out.Put(' ');
  out.Put(record.GetThreadId());
  char* const texts = out.End();
  out.Put(' ');
  out.Put(key);
  out.Put(' ');
  out.Put(subKey);
  out.Put(' ');
  out.Put(text);
  BlankLineFeeds(texts, out);
  out.Put('\n');
}

void AppendJsonLine(const TraceFormatter& record, RecordTime& time, std::string_view trackingId,
                    TextBuffer& out) {
  const JsonTexts texts{.key = View(record.GetKey()),
                        .subKey = View(record.GetSubKey()),
                        .message = record.GetText(),
                        .isObject = LooksLikeObject(record.GetText())};
  if (texts.HaveSpecial()) {
    PutEscapedJsonLine(record, texts, time, trackingId, out);
  } else {
    PutJsonLine(record, texts, time, trackingId, out);
  }
}

[[gnu::noinline]] void AppendXmlElement(const TraceFormatter& record, RecordTime& time, TextBuffer& out) {
  std::string keyStorage;
  std::string subKeyStorage;
  std::string textStorage;
  const std::string_view key = XmlEscaped(View(record.GetKey()), keyStorage);
  const std::string_view subKey = XmlEscaped(View(record.GetSubKey()), subKeyStorage);
  const std::string_view text = XmlEscaped(record.GetText(), textStorage);
  out.Reserve(kFixedSize + key.size() + subKey.size() + text.size());
  out.Put("<lmtrace:mesg type = \"");
  out.Put(TypeName(record));
  out.Put("\" time = \"");
  out.PutWith([&](char* at) { return time.Write(record.GetTime(), at); });
  out.Put("\">\n<lmtrace:id proc = \"");
  out.Put(record.GetProcId());
  out.Put("\" thread = \"");
  out.Put(record.GetThreadId());
  out.Put("\"/>\n<lmtrace:sourceid source = \"");
  out.Put(key);
  out.Put("\" subkey = \"");
  out.Put(subKey);
  out.Put("\"/>\n");
  out.Put(text);
  out.Put("</lmtrace:mesg>\n");
}

}  // namespace dp::internal
