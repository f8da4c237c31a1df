// The printed names of the severities.
#ifndef LMKUTILS_TRACE_INTERNAL_TYPE_NAME_H
#define LMKUTILS_TRACE_INTERNAL_TYPE_NAME_H

#include "lmkutils/trace/trace_formatter.h"

namespace dp::internal {

// Null for values that are no severity.
inline const char* TypeNameOrNull(TraceType type) noexcept {
  switch (type) {
    case TraceType::Info:
      return "Info";
    case TraceType::Debug:
      return "Debug";
    case TraceType::Warning:
      return "Warning";
    case TraceType::Error:
      return "Error";
  }
  return nullptr;
}

}  // namespace dp::internal

#endif
