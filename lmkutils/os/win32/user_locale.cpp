#include "lmkutils/os/user_locale.h"

#include <new>

#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

// The language of menus and messages, which need not be that of the user's numbers and dates.
std::string UserLocale() {
  wchar_t name[LOCALE_NAME_MAX_LENGTH];
  const LCID locale = MAKELCID(GetUserDefaultUILanguage(), SORT_DEFAULT);
  const int length = LCIDToLocaleName(locale, name, LOCALE_NAME_MAX_LENGTH, 0);
  std::string narrow;
  if (length <= 1) return narrow;
  if (win32::Narrow({name, static_cast<std::size_t>(length - 1)}, narrow) != kSuccess) throw std::bad_alloc();
  return narrow;
}

}  // namespace os
