// Trace records for the viewer's window.
#ifndef LMKUTILS_TRACE_WINDOW_CONSUMER_H
#define LMKUTILS_TRACE_WINDOW_CONSUMER_H

#include "lmkutils/export.h"
#include "lmkutils/trace/trace_consumer.h"

namespace dp {

// Sends each record to a window of another program as a copy-data message: the plain line with its end of
// line and a NUL. A window that is gone or hangs holds a record up for at most a second; the record counts as
// delivered all the same. On Linux there are no such windows and nothing is sent.
class LMK_API WindowConsumer : public TraceConsumer {
 public:
  // A window handle of the system (HWND).
  explicit WindowConsumer(void* window) noexcept : window_(window) {}
  ~WindowConsumer() override;

  bool ConsumeMessage(const TraceFormatter* formatter) override;  // true
  void Install() override;                                        // nothing
  void Release() override;                                        // nothing

 private:
  void* window_;
};

}  // namespace dp

#endif
