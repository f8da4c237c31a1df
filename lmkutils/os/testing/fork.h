// Forked processes for tests.
#ifndef LMKUTILS_OS_TESTING_FORK_H
#define LMKUTILS_OS_TESTING_FORK_H

namespace os::testing {

inline constexpr int kForkCrashed = -1;
inline constexpr int kForkUnknown = -2;  // processes do not fork on this target, or not in this build

// Runs `child` in a copy of this process that has the calling thread alone, and ends the copy with its
// result, without exit calls. Waits for that.
int RunForked(int (*child)());

}  // namespace os::testing

#endif
