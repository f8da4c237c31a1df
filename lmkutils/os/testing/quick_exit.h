// The end of a process without its exit handlers, for tests: std::quick_exit, which not every run-time has.
#ifndef LMKUTILS_OS_TESTING_QUICK_EXIT_H
#define LMKUTILS_OS_TESTING_QUICK_EXIT_H

namespace os::testing {

[[noreturn]] void QuickExit(int exitCode);

}  // namespace os::testing

#endif
