// Trace records on a stream.
#ifndef LMKUTILS_TRACE_STREAM_CONSUMER_H
#define LMKUTILS_TRACE_STREAM_CONSUMER_H

#include <iosfwd>
#include <memory>

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_consumer.h"

namespace dp {

// Writes each record to a stream (the standard output or error stream), flushed: as JSON or XML elements when
// "LUMORA_TRACE_FORMAT" says "json" or "xml" at its construction, else as plain lines. XML has no prologue
// here. docs/tracing.md shows the formats.
class LMK_API StreamConsumer : public TraceConsumer {
 public:
  // The stream must outlive the consumer; others may write to it, but not at the same moment, unless it is
  // one of the standard ones. Throws std::bad_alloc.
  explicit StreamConsumer(std::ostream& stream);
  ~StreamConsumer() override;

  bool ConsumeMessage(const TraceFormatter* formatter) override;  // true, also for what the filter holds back
  void Install() override;                                        // nothing
  void Release() override;                                        // nothing

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace dp

#endif
