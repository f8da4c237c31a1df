// Child processes for tests, per target. Tests include lmkutils/testing/child_process.h instead.
#ifndef LMKUTILS_OS_TESTING_CHILD_PROCESS_H
#define LMKUTILS_OS_TESTING_CHILD_PROCESS_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace os::testing {

struct ChildResult {
  int exitCode = -1;      // what the child returned; 128 + signal when a signal ended it
  bool crashed = false;   // ended by a signal (Linux), by an unhandled exception or abort (Windows)
  bool timedOut = false;  // was killed since it ran past its limit
  std::string out;        // what it wrote to its standard output and error streams
  std::string err;
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// Runs args[0] and waits for its end. The child has no input and this process's environment, changed by
// `environment`: an empty value removes the variable. All texts are UTF-8. Throws std::runtime_error when it
// cannot be started.
ChildResult RunChild(const std::vector<std::string>& args, const Environment& environment,
                     std::chrono::milliseconds limit);

// The full path of the running program.
std::string SelfPath();

}  // namespace os::testing

#endif
