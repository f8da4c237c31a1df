#include "lmkutils/os/fault/capabilities.h"

namespace os {

const Capabilities& RealGetCapabilities() noexcept;

namespace {
constinit const Capabilities* pretended = nullptr;
}  // namespace

const Capabilities& GetCapabilities() noexcept {
  return pretended ? *pretended : RealGetCapabilities();
}

namespace fault {

PretendCapabilities::PretendCapabilities(const Capabilities& facts) : facts_(facts) {
  pretended = &facts_;
}

PretendCapabilities::~PretendCapabilities() {
  pretended = nullptr;
}

}  // namespace fault
}  // namespace os
