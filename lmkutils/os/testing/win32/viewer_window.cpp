#include "lmkutils/os/testing/viewer_window.h"

#include <windows.h>

namespace os::testing {
namespace {

const ViewerMessage* currentMessage = nullptr;

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != WM_COPYDATA) return DefWindowProcA(window, message, wParam, lParam);
  const auto* const copy = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
  const std::string_view data(static_cast<const char*>(copy->lpData), copy->cbData);
  if (!(*currentMessage)(data, copy->dwData)) PostQuitMessage(0);
  return TRUE;
}

HWND MakeWindow(const char* className, const char* title) {
  WNDCLASSA windowClass{};
  windowClass.lpfnWndProc = WindowProcedure;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.lpszClassName = className;
  RegisterClassA(&windowClass);
  return CreateWindowA(className, title, WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr,
                       windowClass.hInstance, nullptr);
}

}  // namespace

bool RunViewer(const char* className, const char* title, const ViewerMessage& message) {
  currentMessage = &message;
  if (MakeWindow(className, title) == nullptr) return false;
  MSG next;
  while (GetMessageA(&next, nullptr, 0, 0) > 0) DispatchMessageA(&next);
  return true;
}

bool RunHungViewer(const char* className, const char* title, const std::function<bool()>& done) {
  if (MakeWindow(className, title) == nullptr) return false;
  while (!done()) Sleep(20);
  return true;
}

}  // namespace os::testing
