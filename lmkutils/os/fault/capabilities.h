// For tests: facts of another target.
#ifndef LMKUTILS_OS_FAULT_CAPABILITIES_H
#define LMKUTILS_OS_FAULT_CAPABILITIES_H

#include "lmkutils/os/capabilities.h"

namespace os::fault {

// While it lives, GetCapabilities answers with a copy of `facts`. One at a time, while no other thread asks.
class PretendCapabilities {
 public:
  explicit PretendCapabilities(const Capabilities& facts);
  PretendCapabilities(const PretendCapabilities&) = delete;
  PretendCapabilities& operator=(const PretendCapabilities&) = delete;
  ~PretendCapabilities();

 private:
  Capabilities facts_;
};

}  // namespace os::fault

#endif
