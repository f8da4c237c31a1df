#include "tools/lmkutil/testing/run_tool.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

#include "lmkutils/testing/temp_dir.h"

namespace lmktest {
namespace {

// Away from the user's own tracing, language and memory modes.
Environment Undisturbed(Environment environment) {
  for (const char* variable :
       {"LUMORA_TRACE", "LUMORA_PROC_TRACE", "LC_ALL", "LC_MESSAGES", "LANG",
        "LUMORA_MEM_MAXSPEED_MAXFOOTPRINT", "LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT"}) {
    environment.insert(environment.begin(), {variable, ""});
  }
  return environment;
}

}  // namespace

// With the suffix that programs have here.
std::string ToolPath() {
  const std::string self = SelfPath();
  const std::size_t name = self.find_last_of("/\\") + 1;
  const std::size_t suffix = self.find('.', name);
  return self.substr(0, name) + "lmkutil" + (suffix != self.npos ? self.substr(suffix) : "");
}

ChildResult RunTool(const std::vector<std::string>& arguments, Environment environment) {
  return RunTool(arguments, std::move(environment), ToolPath());
}

ChildResult RunTool(const std::vector<std::string>& arguments, Environment environment,
                    const std::string& tool) {
  std::vector<std::string> all{tool};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunChild(all, Undisturbed(std::move(environment)));
}

bool CanPressCtrlC() {
  return SelfPath().starts_with('/') && std::filesystem::exists("/bin/sh");
}

// A shell notes its number before it becomes the tool, which must not ignore the key as what is started in
// the background does.
ChildResult RunToolUntil(const std::function<bool()>& isAtWork, const std::vector<std::string>& arguments,
                         Environment environment) {
  const TempDir folder;
  const std::string number = folder.File("number");
  std::vector<std::string> all{"/bin/sh", "-c", R"(echo $$ > "$0"; exec env --default-signal=INT "$@")",
                               number, ToolPath()};
  all.insert(all.end(), arguments.begin(), arguments.end());
  std::atomic<bool> hasEnded{false};
  std::thread presser([&] {
    while (!hasEnded && !isAtWork()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (!hasEnded) RunChild({"/bin/sh", "-c", R"(kill -s INT $(cat "$0"))", number});
  });
  const ChildResult result = RunChild(all, Undisturbed(std::move(environment)));
  hasEnded = true;
  presser.join();
  return result;
}

}  // namespace lmktest
