// The user's wish to end a program: Ctrl-C.
#ifndef LMKUTILS_OS_INTERRUPT_H
#define LMKUTILS_OS_INTERRUPT_H

namespace os {

// From now on the first interrupt is only noted; the next one ends the process, as it would have without
// this. Where the program was started so that interrupts pass it by, they still do. False when the system
// refuses.
bool CatchInterrupt() noexcept;

// Whether one was noted. Any thread; a load and a branch.
bool IsInterrupted() noexcept;

}  // namespace os

#endif
