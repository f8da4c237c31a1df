#include "lmkutils/os/capabilities.h"

#include <unistd.h>

namespace os {

const Capabilities& GetCapabilities() noexcept {
  static const Capabilities capabilities{.pageSize = static_cast<unsigned>(sysconf(_SC_PAGESIZE)),
                                         .separator = '/',
                                         .absolutePathsHaveDrive = false,
                                         .longPathsHavePrefix = false,
                                         .shortPathsKnown = false,
                                         .traceViewerKnown = false,
                                         .consoleOnDemand = false,
                                         .environmentIsWide = false,
                                         .exitKillsThreads = false};
  return capabilities;
}

}  // namespace os
