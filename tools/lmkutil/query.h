// The command "query", and what other commands take of it.
#ifndef LMKUTIL_QUERY_H
#define LMKUTIL_QUERY_H

#include <string>
#include <vector>

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Shows the records of a catalogue that the query selects; kWrongUsage, and an explanation on the error
// stream, when the query is not well-formed.
ExitStatus Query(const Options& options, const Resources& resources);

// The paths of the files in the catalogue that the query selects, in the order of the catalogue. kDone, or
// what is wrong was written to the error stream.
ExitStatus FindPaths(const std::string& catalogue, const std::string& query, const Resources& resources,
                     std::vector<std::string>& paths);

}  // namespace lmkutil

#endif
