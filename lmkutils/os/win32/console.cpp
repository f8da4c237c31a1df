#include "lmkutils/os/console.h"

#include <io.h>
#include <stdio.h>
#include <windows.h>

namespace os {
namespace {

// A program without a console has streams without a descriptor, or descriptors of handles that are closed.
bool LeadsSomewhere(FILE* stream) {
  const int descriptor = _fileno(stream);
  if (descriptor < 0) return false;
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  if (handle == INVALID_HANDLE_VALUE || handle == nullptr) return false;
  SetLastError(NO_ERROR);
  return GetFileType(handle) != FILE_TYPE_UNKNOWN || GetLastError() == NO_ERROR;
}

}  // namespace

bool EnsureConsole(StandardStream stream) noexcept {
  FILE* const standard = stream == StandardStream::kOutput ? stdout : stderr;
  if (LeadsSomewhere(standard)) return true;
  AllocConsole();  // fails when there is one already, which serves as well
  return freopen("CONOUT$", "w", standard) != nullptr;
}

// Not _isatty, which takes any device for a terminal, "nul" among them.
bool IsTerminal(StandardStream stream) noexcept {
  const DWORD which = stream == StandardStream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(which), &mode) != FALSE;
}

}  // namespace os
