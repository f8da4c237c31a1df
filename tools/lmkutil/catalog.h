// The command "catalog": what is in a folder, kept for "query" and "zip".
#ifndef LMKUTIL_CATALOG_H
#define LMKUTIL_CATALOG_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Looks through a folder, the system's own data when none is given, and writes the catalogue of its files.
// What cannot be read is counted and does not make it fail.
ExitStatus Catalog(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
