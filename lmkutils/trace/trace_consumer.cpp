#include "lmkutils/trace/trace_consumer.h"

#include <cstdio>

namespace dp {

TraceConsumer::~TraceConsumer() = default;

bool TraceConsumer::ConsumeMessage(const TraceFormatter*) {
  std::fputs(
      "Missing override for pure virtual function TraceConsumer::ConsumeMessage(const TraceFormatter* "
      "formatter)",
      stderr);
  return false;
}

void TraceConsumer::Install() {
  std::fputs("Missing override for pure virtual function TraceConsumer::Install()", stderr);
}

void TraceConsumer::Release() {
  std::fputs("Missing override for pure virtual function TraceConsumer::Release()", stderr);
}

void TraceConsumer::PrintFileName() {}

}  // namespace dp
