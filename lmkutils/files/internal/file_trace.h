// What FileSystem reports with.
#ifndef LMKUTILS_FILES_INTERNAL_FILE_TRACE_H
#define LMKUTILS_FILES_INTERNAL_FILE_TRACE_H

#include "lmkutils/trace/lm_tracer.h"

namespace du::internal {

inline constexpr const char* kFileSystemKey = "FileSystem";

// A record of the category "FileSystem".
template <class... Arguments>
void Trace(dp::TraceType type, const char* format, const Arguments&... arguments) noexcept {
  dp::LMTracer(kFileSystemKey, "")(type, format, arguments...);
}

}  // namespace du::internal

#endif
