// The command "dump": a binary file, and the gzip sections in it.
#ifndef LMKUTIL_DUMP_H
#define LMKUTIL_DUMP_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Lists the parts of the file, with their bytes on demand; kFoundWrong when a section is not what it should
// be.
ExitStatus Dump(const Options& options, const Resources& resources);
// Writes the plain bytes of one section to a file.
ExitStatus Extract(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
