// What the tool does once the command line is understood.
#ifndef LMKUTIL_COMMANDS_H
#define LMKUTIL_COMMANDS_H

#include "tools/lmkutil/options.h"
#include "tools/lmkutil/resources.h"

namespace lmkutil {

enum ExitStatus : int { kDone = 0, kFoundWrong = 1, kWrongUsage = 2, kInterrupted = 130 };

// Each writes its result to the standard output, or one line to the error stream, and returns the exit
// status.
ExitStatus Show(const Options& options, const Resources& resources);
ExitStatus List(const Options& options, const Resources& resources);

// Writes a text to the standard output.
ExitStatus Print(const std::string& text, const Resources& resources);
// Writes one line to the error stream, behind the tool's name.
void PrintError(const std::string& text);

}  // namespace lmkutil

#endif
