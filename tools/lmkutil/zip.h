// The commands "zip create", "zip list", "zip extract" and "zip test".
#ifndef LMKUTIL_ZIP_H
#define LMKUTIL_ZIP_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

ExitStatus ZipCreate(const Options& options, const Resources& resources);
ExitStatus ZipList(const Options& options, const Resources& resources);
ExitStatus ZipExtract(const Options& options, const Resources& resources);
ExitStatus ZipTest(const Options& options, const Resources& resources);

}  // namespace lmkutil

#endif
