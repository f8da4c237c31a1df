// Whether the whole process is going down, or only the library.
#ifndef LMKUTILS_OS_PROCESS_END_H
#define LMKUTILS_OS_PROCESS_END_H

namespace os {

// For the library's own exit handlers: true when the process ends, false when the library is unloaded from a
// process that goes on. Means nothing before they run.
bool ProcessIsEnding() noexcept;

}  // namespace os

#endif
