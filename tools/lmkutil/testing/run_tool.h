// The tool as its users meet it, for its tests: as a program.
#ifndef LMKUTIL_RUN_TOOL_H
#define LMKUTIL_RUN_TOOL_H

#include <functional>
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

// Whether RunToolUntil can be used here: there must be another program that presses the key.
bool CanPressCtrlC();
// Runs the tool and presses Ctrl-C, once, as soon as `isAtWork`.
ChildResult RunToolUntil(const std::function<bool()>& isAtWork, const std::vector<std::string>& arguments,
                         Environment environment = {{"LUMORA_LANG", "en"}});

// Where the tool lies: beside the test program.
std::string ToolPath();

}  // namespace lmktest

#endif
