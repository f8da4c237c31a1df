#include "tools/lmkutil/testing/run_tool.h"

namespace lmktest {
namespace {

// Beside this program, with the suffix that programs have here.
std::string ToolPath() {
  const std::string self = SelfPath();
  const std::size_t name = self.find_last_of("/\\") + 1;
  const std::size_t suffix = self.find('.', name);
  return self.substr(0, name) + "lmkutil" + (suffix != self.npos ? self.substr(suffix) : "");
}

}  // namespace

ChildResult RunTool(const std::vector<std::string>& arguments, Environment environment) {
  std::vector<std::string> all{ToolPath()};
  all.insert(all.end(), arguments.begin(), arguments.end());
  for (const char* variable :
       {"LUMORA_TRACE", "LUMORA_PROC_TRACE", "LC_ALL", "LC_MESSAGES", "LANG",
        "LUMORA_MEM_MAXSPEED_MAXFOOTPRINT", "LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT"}) {
    environment.insert(environment.begin(), {variable, ""});
  }
  return RunChild(all, environment);
}

}  // namespace lmktest
