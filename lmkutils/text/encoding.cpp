#include "lmkutils/text/encoding.h"

#include <utf8.h>

namespace du {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Every encoding is told by the size of its unit, wide text with it. For each there is
//   ValidPrefix      the end of the longest well-formed beginning
//   BrokenLength     of what is not well-formed at the text's beginning, how many units one U+FFFD stands for
//   NextValid        reads a character of well-formed text

template <class Unit>
using View = std::basic_string_view<Unit>;

template <class Unit>
constexpr bool kIs8 = sizeof(Unit) == 1;
template <class Unit>
constexpr bool kIs16 = sizeof(Unit) == 2;

constexpr bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}
constexpr bool IsCharacter(char32_t unit) {
  return unit <= 0x10FFFF && !IsHighSurrogate(unit) && !IsLowSurrogate(unit);
}

template <class Unit>
std::size_t ValidPrefix(View<Unit> text) noexcept {
  if constexpr (kIs8<Unit>) {
    return static_cast<std::size_t>(utf8::find_invalid(text.begin(), text.end()) - text.begin());
  } else {
    std::size_t i = 0;
    while (i < text.size()) {
      const auto unit = static_cast<char32_t>(text[i]);
      if (IsCharacter(unit)) {
        ++i;
      } else if (kIs16<Unit> && IsHighSurrogate(unit) && i + 1 < text.size() &&
                 IsLowSurrogate(static_cast<char32_t>(text[i + 1]))) {
        i += 2;
      } else {
        break;
      }
    }
    return i;
  }
}

// The second bytes that may follow a lead byte: table 3-7 of the Unicode Standard.
bool IsSecondByte(unsigned char lead, unsigned char byte) noexcept {
  switch (lead) {
    case 0xE0:
      return byte >= 0xA0 && byte <= 0xBF;
    case 0xED:
      return byte >= 0x80 && byte <= 0x9F;
    case 0xF0:
      return byte >= 0x90 && byte <= 0xBF;
    case 0xF4:
      return byte >= 0x80 && byte <= 0x8F;
    default:
      return byte >= 0x80 && byte <= 0xBF;
  }
}

template <class Unit>
std::size_t BrokenLength(View<Unit> text) noexcept {
  if constexpr (kIs8<Unit>) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0xC2 || lead > 0xF4 || text.size() < 2 || !IsSecondByte(lead, byte(1))) return 1;
    // Two bytes were right so far, so the character has four for a third one to be right as well.
    const bool thirdIsRight = lead >= 0xF0 && text.size() > 2 && IsSecondByte(0, byte(2));
    return thirdIsRight ? 3 : 2;
  }
  return 1;
}

template <class Unit>
char32_t NextValid(const Unit*& at) noexcept {
  if constexpr (kIs8<Unit>) {
    return utf8::unchecked::next(at);
  } else {
    const auto unit = static_cast<char32_t>(*at++);
    if (!kIs16<Unit> || !IsHighSurrogate(unit)) return unit;
    return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(*at++) - 0xDC00);
  }
}

template <class Unit>
void Append(char32_t character, std::basic_string<Unit>& target) {
  if constexpr (kIs8<Unit>) {
    Unit bytes[4];
    target.append(bytes, utf8::unchecked::append(character, bytes));
  } else if (kIs16<Unit> && character >= 0x10000) {
    target += static_cast<Unit>(0xD800 + ((character - 0x10000) >> 10));
    target += static_cast<Unit>(0xDC00 + ((character - 0x10000) & 0x3FF));
  } else {
    target += static_cast<Unit>(character);
  }
}

template <class From, class To>
void AppendValid(View<From> source, std::basic_string<To>& target) {
  if constexpr (sizeof(From) == sizeof(To)) {
    target.append(source.begin(), source.end());
  } else {
    const From* at = source.data();
    for (const From* const end = at + source.size(); at != end;) Append(NextValid(at), target);
  }
}

template <class Unit>
EncodingResult Check(View<Unit> text) noexcept {
  const std::size_t valid = ValidPrefix(text);
  return {valid == text.size(), valid};
}

// Most text is ASCII: it is narrowed in blocks, by a loop that becomes vector code. False, and the places as
// they were, where no such block stands.
constexpr std::size_t kBlock = 8;

template <class Unit>
bool TakeAscii(const Unit*& at, const Unit* end, char*& to) noexcept {
  if (static_cast<std::size_t>(end - at) < kBlock) return false;
  Unit all = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    all = static_cast<Unit>(all | at[i]);
    to[i] = static_cast<char>(at[i]);
  }
  if (all >= 0x80) return false;
  at += kBlock;
  to += kBlock;
  return true;
}

// A block of any characters, less where the text is not well-formed or ends: false then. At most four bytes a
// unit are written.
template <class Unit>
bool TakeAny(const Unit*& at, const Unit* end, char*& to) noexcept {
  for (std::size_t i = 0; i < kBlock; ++i) {
    if (at == end) return false;
    const auto unit = static_cast<char32_t>(*at);
    const bool pair = IsHighSurrogate(unit) && end - at > 1 && IsLowSurrogate(static_cast<char32_t>(at[1]));
    if (!pair && !IsCharacter(unit)) return false;
    to = utf8::unchecked::append(NextValid(at), to);
  }
  return true;
}

// Appends the longest well-formed beginning; how many units that is.
template <class From, class To>
std::size_t AppendPrefix(View<From> source, std::basic_string<To>& target) {
  if constexpr (kIs16<From> && kIs8<To>) {
    // In one pass, and through a small buffer: to append each character costs more than to convert it.
    const From* at = source.data();
    const From* const end = at + source.size();
    bool more = true;
    while (more) {
      char buffer[512];
      char* to = buffer;
      while (more && to <= buffer + sizeof(buffer) - 4 * kBlock) {
        more = TakeAscii(at, end, to) || TakeAny(at, end, to);
      }
      target.append(buffer, to);
    }
    return static_cast<std::size_t>(at - source.data());
  } else {
    const std::size_t valid = ValidPrefix(source);
    AppendValid(source.substr(0, valid), target);
    return valid;
  }
}

template <class From, class To>
EncodingResult Convert(View<From> source, std::basic_string<To>& target) {
  target.clear();
  target.reserve(source.size());  // exact for ASCII
  const std::size_t valid = AppendPrefix(source, target);
  return {valid == source.size(), valid};
}

template <class To, class From>
std::basic_string<To> Replace(View<From> source) {
  std::basic_string<To> target;
  target.reserve(source.size());
  for (;;) {
    source.remove_prefix(AppendPrefix(source, target));
    if (source.empty()) return target;
    Append(kReplacement, target);
    source.remove_prefix(BrokenLength(source));
  }
}

}  // namespace

EncodingResult CheckUtf8(std::string_view text) noexcept {
  return Check(text);
}
EncodingResult CheckUtf16(std::u16string_view text) noexcept {
  return Check(text);
}
EncodingResult CheckUtf32(std::u32string_view text) noexcept {
  return Check(text);
}
EncodingResult CheckWide(std::wstring_view text) noexcept {
  return Check(text);
}

EncodingResult ConvertText(std::string_view source, std::u16string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::string_view source, std::u32string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::string_view source, std::wstring& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::u16string_view source, std::string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::u16string_view source, std::u32string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::u16string_view source, std::wstring& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::u32string_view source, std::string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::u32string_view source, std::u16string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::u32string_view source, std::wstring& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::wstring_view source, std::string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::wstring_view source, std::u16string& target) {
  return Convert(source, target);
}
EncodingResult ConvertText(std::wstring_view source, std::u32string& target) {
  return Convert(source, target);
}

std::u16string ToUtf16(std::string_view source) {
  return Replace<char16_t>(source);
}
std::u16string ToUtf16(std::u32string_view source) {
  return Replace<char16_t>(source);
}
std::u16string ToUtf16(std::wstring_view source) {
  return Replace<char16_t>(source);
}
std::u32string ToUtf32(std::string_view source) {
  return Replace<char32_t>(source);
}
std::u32string ToUtf32(std::u16string_view source) {
  return Replace<char32_t>(source);
}
std::u32string ToUtf32(std::wstring_view source) {
  return Replace<char32_t>(source);
}
std::wstring ToWide(std::string_view source) {
  return Replace<wchar_t>(source);
}
std::wstring ToWide(std::u16string_view source) {
  return Replace<wchar_t>(source);
}
std::wstring ToWide(std::u32string_view source) {
  return Replace<wchar_t>(source);
}
std::string ToUtf8(std::u16string_view source) {
  return Replace<char>(source);
}
std::string ToUtf8(std::u32string_view source) {
  return Replace<char>(source);
}
std::string ToUtf8(std::wstring_view source) {
  return Replace<char>(source);
}
std::string RepairUtf8(std::string_view source) {
  return Replace<char>(source);
}

}  // namespace du
