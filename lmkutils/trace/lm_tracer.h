// The tracer that every part of the library, and its callers, report with.
#ifndef LMKUTILS_TRACE_LM_TRACER_H
#define LMKUTILS_TRACE_LM_TRACER_H

#include <string>
#include <vector>

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_formatter.h"

namespace dp {

// Names where records come from. A cheap value: make it as a static or a temporary, copy it, use it from any
// thread. The two texts are not copied; give it literals.
//
//   static const dp::LMTracer tracer("utils", "Lmtrb");
//   tracer(dp::TraceType::Warning, "Cannot read %s", path);
//   tracer(dp::TraceType::Info) << "loaded " << count << " entries";
//
// The calls never throw and keep errno and the system's last error. While tracing is off they look at none of
// their arguments. Conversions are those of dp::PrintfFormatter; a null format makes no record.
class LMK_API LMTracer {
 public:
  LMTracer(const char* key, const char* subKey) noexcept : key_(key), subKey_(subKey) {}

  void operator()(const char* format, ...) const noexcept;  // an Info record
  void operator()(TraceType type, const char* format, ...) const noexcept;
  // A live record to insert into; delivered when it is destroyed, at the end of the full expression.
  TraceFormatter operator()(TraceType type) const noexcept;
  // Structured records, from keys and values in turn: see TraceFormatter::FormatJson.
  void operator()(const std::vector<std::string>& pairs) const noexcept;  // Info
  void operator()(TraceType type, const std::vector<std::string>& pairs) const noexcept;

 private:
  const char* key_;
  const char* subKey_;
};

}  // namespace dp

#endif
