// The command "strings check".
#ifndef LMKUTIL_CHECK_H
#define LMKUTIL_CHECK_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Checks files, of which those of the same name are the languages of one resource, or all languages of the
// products in a directory. kFoundWrong when there is an error, with `strict` also when there is a warning.
ExitStatus Check(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
