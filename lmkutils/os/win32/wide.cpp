#include "lmkutils/os/win32/wide.h"

#include <cstdint>
#include <iterator>
#include <new>
#include <stdexcept>

#include <utf8.h>
#include <windows.h>

namespace os::win32 {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

constexpr bool IsLead(std::uint32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsTrail(std::uint32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The code point at the start of `text`, which is not empty; takes its units off.
std::uint32_t NextCodePoint(std::wstring_view& text) noexcept {
  const std::uint32_t unit = text[0];
  text.remove_prefix(1);
  if (IsLead(unit) && !text.empty() && IsTrail(text[0])) {
    const std::uint32_t trail = text[0];
    text.remove_prefix(1);
    return 0x10000 + ((unit - 0xD800) << 10) + (trail - 0xDC00);
  }
  return IsLead(unit) || IsTrail(unit) ? kReplacement : unit;
}

}  // namespace

SystemError Widen(std::string_view text, std::wstring& out) noexcept {
  out.clear();
  if (text.find('\0') != std::string_view::npos) return kErrorInvalidName;
  if (utf8::find_invalid(text.begin(), text.end()) != text.end()) return ERROR_NO_UNICODE_TRANSLATION;
  try {
    out.reserve(text.size());
  } catch (const std::exception&) {  // bad_alloc or length_error
    return kErrorNotEnoughMemory;
  }
  // Never more units than bytes, so nothing below allocates.
  utf8::unchecked::utf8to16(text.begin(), text.end(), std::back_inserter(out));
  return 0;
}

SystemError Narrow(std::wstring_view text, std::string& out) noexcept {
  out.clear();
  try {
    out.reserve(text.size());
    while (!text.empty()) utf8::unchecked::append(NextCodePoint(text), std::back_inserter(out));
  } catch (const std::exception&) {
    out.clear();
    return kErrorNotEnoughMemory;
  }
  return 0;
}

}  // namespace os::win32
