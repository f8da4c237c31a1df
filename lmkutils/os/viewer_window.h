// The window of the trace viewer, another program.
#ifndef LMKUTILS_OS_VIEWER_WINDOW_H
#define LMKUTILS_OS_VIEWER_WINDOW_H

#include <cstddef>

namespace os {

// The top-level window of that class and title; null when there is none, and always on Linux.
void* FindViewerWindow(const char* className, const char* title) noexcept;

// Hands a copy of the bytes to the window as a copy-data message (WM_COPYDATA, data number 0) and waits until
// it has been looked at, but no longer than `milliseconds`, and not at all for a window that hangs. False
// when the window is gone or did not look. Other messages sent to the calling thread may be dispatched
// meanwhile.
bool SendToViewerWindow(void* window, const void* data, std::size_t size, unsigned milliseconds) noexcept;

}  // namespace os

#endif
