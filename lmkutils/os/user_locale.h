// The language in which the user wants to be spoken to.
#ifndef LMKUTILS_OS_USER_LOCALE_H
#define LMKUTILS_OS_USER_LOCALE_H

#include <string>

namespace os {

// The locale of the user's interface as the system names it: the language of the desktop on Windows
// ("de-DE", "zh-TW"), elsewhere the first of the variables LC_ALL, LC_MESSAGES and LANG that is not empty
// ("de_DE.UTF-8", "C"). Empty when the system does not tell. Throws std::bad_alloc.
std::string UserLocale();

}  // namespace os

#endif
