// The console behind the standard streams.
#ifndef LMKUTILS_OS_CONSOLE_H
#define LMKUTILS_OS_CONSOLE_H

namespace os {

enum class StandardStream { kOutput, kError };

// Windows: when the C run-time's stream leads nowhere (a program without a console), opens a console for the
// process and the stream onto it. A stream that leads anywhere, be it a file or a pipe, stays as it is.
// Linux: nothing. False when the stream still leads nowhere.
bool EnsureConsole(StandardStream stream) noexcept;

// Whether a person sees what is written to the C run-time's stream.
bool IsTerminal(StandardStream stream) noexcept;

}  // namespace os

#endif
