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
  line_.clear();
  internal::AppendPlainLine(*formatter, line_);
  os::SendToViewerWindow(window_, line_.c_str(), line_.size() + 1, kLimit);
  return true;
}

void WindowConsumer::Install() {}

void WindowConsumer::Release() {}

}  // namespace dp
