// Child processes for tests: any program, or the test program itself in a role of its own.
//
// A test that needs a fresh process registers the child's part under a name, at namespace scope,
//
//   const lmktest::ChildRole kHolder("hold_lock", [](const std::vector<std::string>& args) { ...; return 0;
//   });
//
// and runs it: lmktest::RunSelf("hold_lock", {"argument"}). The role runs instead of the tests, and the
// process ends by returning its result from main.
#ifndef LMKUTILS_TESTING_CHILD_PROCESS_H
#define LMKUTILS_TESTING_CHILD_PROCESS_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "lmkutils/os/testing/child_process.h"

namespace lmktest {

using os::testing::ChildResult;
using os::testing::Environment;
using os::testing::SelfPath;

inline constexpr std::chrono::milliseconds kChildLimit{60000};

// Runs args[0] to its end; see os::testing::RunChild. Line ends in the streams are "\n" on every target.
ChildResult RunChild(const std::vector<std::string>& args, const Environment& environment = {},
                     std::chrono::milliseconds limit = kChildLimit);

// Runs this test program in a role registered by ChildRole. Arguments are ASCII; other texts go through the
// environment.
ChildResult RunSelf(const std::string& role, const std::vector<std::string>& args = {},
                    const Environment& environment = {}, std::chrono::milliseconds limit = kChildLimit);

class ChildRole {
 public:
  using Main = int (*)(const std::vector<std::string>& args);
  ChildRole(const char* name, Main main);
};

// For main: the result of the role that the command line asks for; nothing when it asks for none.
std::optional<int> RunChildRole(int argc, char** argv);

}  // namespace lmktest

#endif
