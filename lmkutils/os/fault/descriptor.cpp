#include "lmkutils/os/descriptor.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealOpenDescriptor(const char* path, int flags, int mode, int* descriptor) noexcept;
SystemError RealStreamOfDescriptor(int descriptor, const char* mode, std::FILE** stream) noexcept;
SystemError RealCloseStream(std::FILE* stream) noexcept;

// Failures of the run-time are left behind as it does.

SystemError OpenDescriptor(const char* path, int flags, int mode, int* descriptor) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealOpenDescriptor(path, flags, mode, descriptor);
  *descriptor = -1;
  SetLastSystemError(verdict.error);
  return verdict.error;
}

SystemError StreamOfDescriptor(int descriptor, const char* mode, std::FILE** stream) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kStreamOpen);
  if (!verdict.fail) return RealStreamOfDescriptor(descriptor, mode, stream);
  *stream = nullptr;
  SetLastSystemError(verdict.error);
  return verdict.error;
}

// Closed all the same.
SystemError CloseStream(std::FILE* stream) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileClose);
  const SystemError error = RealCloseStream(stream);
  if (!verdict.fail) return error;
  SetLastSystemError(verdict.error);
  return verdict.error;
}

}  // namespace os
