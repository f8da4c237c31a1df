// Conversions between the three Unicode encodings and wide text.
#ifndef LMKUTILS_TEXT_ENCODING_H
#define LMKUTILS_TEXT_ENCODING_H

#include <cstddef>
#include <string>
#include <string_view>

#include "lmkutils/export.h"

// UTF-8, UTF-16 and UTF-32 as the Unicode Standard defines them (section 3.9), in native byte order:
// surrogates only in UTF-16 and only in pairs, nothing above U+10FFFF, each character in its shortest form.
// NUL and non-characters are characters as any other; a byte order mark is the character U+FEFF and is kept.
// Wide text is UTF-16 where wchar_t has 16 bits and UTF-32 elsewhere.
//
// Two flavours. The strict functions convert the whole text or report where it goes wrong; the others put
// U+FFFD for what is wrong: one for each maximal part of a character that broke off, as the Standard
// recommends. Both throw std::bad_alloc or std::length_error when memory is exhausted, and nothing else. Any
// thread.
namespace du {

// What came of a strict conversion. `position` counts the units of the source (bytes, 16-bit units, ...)
// before the first character that is not well-formed; it is the source's length when all was.
struct EncodingResult {
  bool valid = true;
  std::size_t position = 0;

  explicit operator bool() const noexcept { return valid; }
};

// Whether and where the text is not well-formed. Never throw.
[[nodiscard]] LMK_API EncodingResult CheckUtf8(std::string_view text) noexcept;
[[nodiscard]] LMK_API EncodingResult CheckUtf16(std::u16string_view text) noexcept;
[[nodiscard]] LMK_API EncodingResult CheckUtf32(std::u32string_view text) noexcept;
[[nodiscard]] LMK_API EncodingResult CheckWide(std::wstring_view text) noexcept;

// Strict: replace the target's content by the converted text, up to the fault if there is one. The target
// must not be what the source looks at.
[[nodiscard]] LMK_API EncodingResult ConvertText(std::string_view source, std::u16string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::string_view source, std::u32string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::string_view source, std::wstring& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::u16string_view source, std::string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::u16string_view source, std::u32string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::u16string_view source, std::wstring& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::u32string_view source, std::string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::u32string_view source, std::u16string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::u32string_view source, std::wstring& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::wstring_view source, std::string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::wstring_view source, std::u16string& target);
[[nodiscard]] LMK_API EncodingResult ConvertText(std::wstring_view source, std::u32string& target);

// Replacing: the converted text with U+FFFD where the source is not well-formed. The last one repairs UTF-8.
[[nodiscard]] LMK_API std::u16string ToUtf16(std::string_view source);
[[nodiscard]] LMK_API std::u16string ToUtf16(std::u32string_view source);
[[nodiscard]] LMK_API std::u16string ToUtf16(std::wstring_view source);
[[nodiscard]] LMK_API std::u32string ToUtf32(std::string_view source);
[[nodiscard]] LMK_API std::u32string ToUtf32(std::u16string_view source);
[[nodiscard]] LMK_API std::u32string ToUtf32(std::wstring_view source);
[[nodiscard]] LMK_API std::wstring ToWide(std::string_view source);
[[nodiscard]] LMK_API std::wstring ToWide(std::u16string_view source);
[[nodiscard]] LMK_API std::wstring ToWide(std::u32string_view source);
[[nodiscard]] LMK_API std::string ToUtf8(std::u16string_view source);
[[nodiscard]] LMK_API std::string ToUtf8(std::u32string_view source);
[[nodiscard]] LMK_API std::string ToUtf8(std::wstring_view source);
[[nodiscard]] LMK_API std::string RepairUtf8(std::string_view source);

}  // namespace du

#endif
