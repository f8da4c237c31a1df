// The programs zip and unzip.
#include <vector>

#include "bench/zip/rows.h"
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {
namespace {

bool Run(const std::string& folder, std::vector<std::string> command) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
  std::vector<char*> arguments;
  for (std::string& word : command) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  const bool started = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return started && waitpid(child, &status, 0) == child && status == 0;
}

struct Programs {
  static bool Create(const std::string& folder, const std::string& archive) {
    return Run(folder, {"zip", "-qr", archive, "."});
  }
  static bool List(const std::string& archive, std::size_t /*count*/) {
    return Run("/", {"unzip", "-Z1", archive});
  }
  static bool Extract(const std::string& archive, const std::string& folder) {
    return Run(folder, {"unzip", "-q", archive});
  }
};

const bool registered = (AddRows<Programs>("zip and unzip"), true);

}  // namespace
}  // namespace bench
