// A tracer that compiles away.
#ifndef LMKUTILS_TRACE_LM_NULL_TRACER_H
#define LMKUTILS_TRACE_LM_NULL_TRACER_H

#include <ios>
#include <ostream>
#include <string>
#include <vector>

#include "lmkutils/trace/trace_formatter.h"

namespace dp {

// The record of the null tracer: what is inserted is dropped.
class NullFormatter {
 public:
  template <class T>
  const NullFormatter& operator<<(const T&) const noexcept {
    return *this;
  }
  const NullFormatter& operator<<(std::ostream& (*)(std::ostream&)) const noexcept { return *this; }
  const NullFormatter& operator<<(std::ios_base& (*)(std::ios_base&)) const noexcept { return *this; }
};

// Takes the place of dp::LMTracer or dp::LMDebugTracer where tracing shall cost nothing. Any thread.
class LMNullTracer {
 public:
  LMNullTracer() noexcept = default;
  LMNullTracer(int) noexcept {}

  template <class... Args>
  void operator()(unsigned int, const char*, const Args&...) const noexcept {}
  template <class... Args>
  void operator()(const char*, const Args&...) const noexcept {}
  template <class... Args>
  void operator()(TraceType, const char*, const Args&...) const noexcept {}
  void operator()(const std::vector<std::string>&) const noexcept {}
  void operator()(TraceType, const std::vector<std::string>&) const noexcept {}
  NullFormatter operator()(TraceType) const noexcept { return {}; }
  NullFormatter operator()(unsigned int) const noexcept { return {}; }
  NullFormatter operator()() const noexcept { return {}; }
};

}  // namespace dp

#endif
