#include "lmkutils/os/descriptor.h"

#include <cerrno>
#include <exception>
#include <string>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

const int kOpenReadOnly = _O_RDONLY;
const int kOpenWriteOnly = _O_WRONLY;
const int kOpenReadWrite = _O_RDWR;
const int kOpenAppend = _O_APPEND;
const int kOpenCreate = _O_CREAT;
const int kOpenExclusive = _O_EXCL;
const int kOpenTruncate = _O_TRUNC;
const int kOpenBinary = _O_BINARY;

namespace {

// Calls of the run-time leave the system's number behind them too, but for what they refuse themselves.
SystemError LastRuntimeError() noexcept {
  const SystemError own = GetLastError();
  return own != kSuccess ? own : SystemErrorFromErrno(errno);
}

}  // namespace

SystemError OpenDescriptor(const char* path, int flags, int mode, int* descriptor) noexcept {
  *descriptor = -1;
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(path, wide)) {
      SetLastSystemError(error);
      return error;
    }
    SetLastError(kSuccess);
    *descriptor = _wopen(wide.c_str(), flags | _O_NOINHERIT, mode);
    return *descriptor >= 0 ? kSuccess : LastRuntimeError();
  } catch (const std::exception&) {
    SetLastSystemError(kErrorNotEnoughMemory);
    return kErrorNotEnoughMemory;
  }
}

SystemError CloseDescriptor(int descriptor) noexcept {
  SetLastError(kSuccess);
  return descriptor < 0 || _close(descriptor) == 0 ? kSuccess : LastRuntimeError();
}

SystemError StreamOfDescriptor(int descriptor, const char* mode, std::FILE** stream) noexcept {
  SetLastError(kSuccess);
  *stream = _fdopen(descriptor, mode);
  return *stream != nullptr ? kSuccess : LastRuntimeError();
}

int DescriptorOfStream(std::FILE* stream) noexcept {
  return _fileno(stream);
}

SystemError CloseStream(std::FILE* stream) noexcept {
  SetLastError(kSuccess);
  return std::fclose(stream) == 0 ? kSuccess : LastRuntimeError();
}

File FileOfDescriptor(int descriptor) noexcept {
  return descriptor < 0 ? File::kNone : static_cast<File>(_get_osfhandle(descriptor));
}

}  // namespace os
