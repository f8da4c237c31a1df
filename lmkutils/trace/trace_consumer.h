// Where trace records go.
#ifndef LMKUTILS_TRACE_TRACE_CONSUMER_H
#define LMKUTILS_TRACE_TRACE_CONSUMER_H

#include "lmkutils/export.h"

namespace dp {

class TraceFormatter;

// Base of every consumer. A consumer is constructed, handed to the trace controller, which then owns it,
// installed, given records, and released before it is destroyed. The controller makes one call at a time, on
// whichever thread finished a record, so a consumer needs no lock of its own. A record that a consumer
// itself finishes meanwhile on that thread is dropped and counted.
class LMK_API TraceConsumer {
 public:
  virtual ~TraceConsumer();

  // Writes one record, which must not be kept; true when this consumer took it, false to let the next older
  // one try. An exception counts as false. The base body only writes to the standard error stream that the
  // override is missing.
  virtual bool ConsumeMessage(const TraceFormatter* formatter) = 0;
  // Called once before the first record, and once after the last. Base bodies as above.
  virtual void Install() = 0;
  virtual void Release() = 0;
  // Tells on the standard output which file is written; nothing by default.
  virtual void PrintFileName();

 protected:
  TraceConsumer() = default;
  TraceConsumer(const TraceConsumer&) = default;
  TraceConsumer& operator=(const TraceConsumer&) = default;
};

}  // namespace dp

#endif
