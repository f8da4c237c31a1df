// The command "memory": what a piece of work takes from the library's pools.
#ifndef LMKUTIL_MEMORY_H
#define LMKUTIL_MEMORY_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Interns and counts the words of the files given, of the tool's own texts when there are none, and shows,
// while all of them are kept, who supplies whom with memory and what the pools hold.
ExitStatus Memory(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
