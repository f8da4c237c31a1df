// A trace viewer for tests.
#ifndef LMKUTILS_OS_TESTING_VIEWER_WINDOW_H
#define LMKUTILS_OS_TESTING_VIEWER_WINDOW_H

#include <functional>
#include <string_view>

namespace os::testing {

// The bytes and the number of one copy-data message; false ends the viewer.
using ViewerMessage = std::function<bool(std::string_view data, unsigned long long number)>;

// Owns a top-level window of that class and title and hands on the messages that it gets. False, at once,
// when the window cannot be made, and on targets without such windows.
bool RunViewer(const char* className, const char* title, const ViewerMessage& message);

// Owns such a window, but looks at no message until `done` says so.
bool RunHungViewer(const char* className, const char* title, const std::function<bool()>& done);

}  // namespace os::testing

#endif
