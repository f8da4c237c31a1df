#include "lmkutils/os/process_end.h"

#include <windows.h>

namespace os {
namespace {

bool processIsEnding = false;  // written before the exit handlers run, by the one thread that is left

}  // namespace

bool ProcessIsEnding() noexcept {
  return processIsEnding;
}

}  // namespace os

// The loader calls this before the library's exit handlers; the last argument is null when the library is
// unloaded.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_DETACH) os::processIsEnding = processEnds != nullptr;
  return TRUE;
}
