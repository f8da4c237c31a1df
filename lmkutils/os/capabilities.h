// What differs by target and matters above the seam, as data: portable code branches on these facts, so that
// both branches can be tested on either target.
#ifndef LMKUTILS_OS_CAPABILITIES_H
#define LMKUTILS_OS_CAPABILITIES_H

namespace os {

struct Capabilities {
  unsigned pageSize;  // bytes
  char separator;     // the one in paths that the system returns
  bool absolutePathsHaveDrive;
  bool longPathsHavePrefix;  // "\\?\" in front lifts the limit of a path's length
  bool shortPathsKnown;      // 8.3 aliases exist
  bool traceViewerKnown;     // windows can be found and sent copy-data messages
  bool consoleOnDemand;      // a process may run without standard streams and open a console
  bool environmentIsWide;    // names and values of the environment are wide text
  bool exitKillsThreads;     // exit calls run when all other threads are dead, perhaps inside a lock
};

// The facts of this target; the same object at every call.
const Capabilities& GetCapabilities() noexcept;

}  // namespace os

#endif
