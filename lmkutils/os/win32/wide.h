// Where the library's narrow text (UTF-8) meets the wide text of Windows (UTF-16): the one converter of this
// face.
#ifndef LMKUTILS_OS_WIN32_WIDE_H
#define LMKUTILS_OS_WIN32_WIDE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace os::win32 {

// `text` for a wide call. Strict: 0 and the result in `out`, else a system error number and `out` empty:
//   ERROR_NO_UNICODE_TRANSLATION (1113)  not UTF-8 (overlong forms and surrogates included)
//   ERROR_INVALID_NAME (123)             a NUL inside: the call would see only the text before it
//   ERROR_NOT_ENOUGH_MEMORY (8)
[[nodiscard]] std::uint32_t Widen(std::string_view text, std::wstring& out) noexcept;

// What a wide call returned, as UTF-8. Each lone surrogate becomes U+FFFD, so that a result is never lost for
// one bad character. 0, or ERROR_NOT_ENOUGH_MEMORY (8) and `out` empty.
[[nodiscard]] std::uint32_t Narrow(std::wstring_view text, std::string& out) noexcept;

}  // namespace os::win32

#endif
