#include "lmkutils/os/capabilities.h"

#include <windows.h>

namespace os {
namespace {

unsigned PageSize() noexcept {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}

}  // namespace

const Capabilities& GetCapabilities() noexcept {
  static const Capabilities capabilities{.pageSize = PageSize(),
                                         .separator = '\\',
                                         .absolutePathsHaveDrive = true,
                                         .longPathsHavePrefix = true,
                                         .shortPathsKnown = true,
                                         .traceViewerKnown = true,
                                         .consoleOnDemand = true,
                                         .environmentIsWide = true,
                                         .exitKillsThreads = true};
  return capabilities;
}

}  // namespace os
