// The form of paths that has no limit on its length. For the sources of this folder only.
#ifndef LMKUTILS_OS_WIN32_LONG_FORM_H
#define LMKUTILS_OS_WIN32_LONG_FORM_H

#include <string>

namespace os::win32 {

// Of any path; empty when the system cannot complete it. Throws std::bad_alloc.
std::wstring LongForm(const std::wstring& path);

}  // namespace os::win32

#endif
