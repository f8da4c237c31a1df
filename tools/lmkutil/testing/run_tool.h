// The tool as its users meet it, for its tests: as a program.
#ifndef LMKUTIL_RUN_TOOL_H
#define LMKUTIL_RUN_TOOL_H

#include <string>
#include <vector>

#include "lmkutils/testing/child_process.h"

namespace lmktest {

// Runs the lmkutil that was built with this test program, away from the user's own tracing, language and
// memory modes.
ChildResult RunTool(const std::vector<std::string>& arguments,
                    Environment environment = {{"LUMORA_LANG", "en"}});
// The same with another copy of it.
ChildResult RunTool(const std::vector<std::string>& arguments, Environment environment,
                    const std::string& tool);

// Where the tool lies: beside the test program.
std::string ToolPath();

}  // namespace lmktest

#endif
