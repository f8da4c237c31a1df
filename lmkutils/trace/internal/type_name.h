// The printed names of the severities.
#ifndef LMKUTILS_TRACE_INTERNAL_TYPE_NAME_H
#define LMKUTILS_TRACE_INTERNAL_TYPE_NAME_H

#include <string_view>

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

// As in the member "level" of a record; "info" for values that are no severity.
inline std::string_view LevelName(TraceType type) noexcept {
  switch (type) {
    case TraceType::Debug:
      return "debug";
    case TraceType::Warning:
      return "warn";
    case TraceType::Error:
      return "error";
    default:
      return "info";
  }
}

}  // namespace dp::internal

#endif
