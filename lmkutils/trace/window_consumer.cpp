#include "lmkutils/trace/window_consumer.h"

#include "lmkutils/os/viewer_window.h"
#include "lmkutils/trace/internal/record_text.h"

namespace dp {
namespace {

constexpr unsigned kLimit = 1000;  // milliseconds: a viewer that hangs must not stop all that trace

}  // namespace

WindowConsumer::~WindowConsumer() = default;

bool WindowConsumer::ConsumeMessage(const TraceFormatter* formatter) {
  if (formatter == nullptr || formatter->IsInert()) return true;
  internal::TextBuffer line;
  internal::RecordTime time(du::internal::WriteLocalInstant);
  internal::AppendPlainLine(*formatter, time, line);
  line.Reserve(1);
  line.Put('\0');
  os::SendToViewerWindow(window_, line.View().data(), line.Size(), kLimit);
  return true;
}

void WindowConsumer::Install() {}

void WindowConsumer::Release() {}

}  // namespace dp
