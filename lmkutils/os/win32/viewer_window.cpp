#include "lmkutils/os/viewer_window.h"

#include <cstdint>

#include <windows.h>

namespace os {

void* FindViewerWindow(const char* className, const char* title) noexcept {
  return FindWindowA(className, title);
}

bool SendToViewerWindow(void* window, const void* data, std::size_t size, unsigned milliseconds) noexcept {
  if (size > MAXDWORD) return false;
  COPYDATASTRUCT message{};
  message.cbData = static_cast<DWORD>(size);
  message.lpData = const_cast<void*>(data);
  DWORD_PTR answer = 0;
  return SendMessageTimeoutA(static_cast<HWND>(window), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&message),
                             SMTO_ABORTIFHUNG, milliseconds, &answer) != 0;
}

}  // namespace os
