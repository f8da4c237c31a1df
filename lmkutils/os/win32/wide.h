// Where the library's narrow text (UTF-8) meets the wide text of Windows (UTF-16): the one converter of this
// face.
#ifndef LMKUTILS_OS_WIN32_WIDE_H
#define LMKUTILS_OS_WIN32_WIDE_H

#include <string>
#include <string_view>

#include "lmkutils/os/system_error.h"

namespace os::win32 {

// `text` for a wide call. Strict: 0 and the result in `out`, else a system error number and `out` empty:
//   1113 (ERROR_NO_UNICODE_TRANSLATION)  not UTF-8 (overlong forms and surrogates included)
//   kErrorInvalidName           a NUL inside: the call would see only the text before it
//   kErrorNotEnoughMemory
[[nodiscard]] SystemError Widen(std::string_view text, std::wstring& out) noexcept;

// What a wide call returned, as UTF-8. Each lone surrogate becomes U+FFFD, so that a result is never lost for
// one bad character. 0, or kErrorNotEnoughMemory and `out` empty.
[[nodiscard]] SystemError Narrow(std::wstring_view text, std::string& out) noexcept;

}  // namespace os::win32

#endif
