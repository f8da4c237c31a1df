#include "tools/lmkutil/testing/run_tool.h"

#include <utility>

namespace lmktest {

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
  for (const char* variable :
       {"LUMORA_TRACE", "LUMORA_PROC_TRACE", "LC_ALL", "LC_MESSAGES", "LANG",
        "LUMORA_MEM_MAXSPEED_MAXFOOTPRINT", "LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT"}) {
    environment.insert(environment.begin(), {variable, ""});
  }
  return RunChild(all, environment);
}

}  // namespace lmktest
