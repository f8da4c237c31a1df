#include "lmkutils/os/file.h"

#include <algorithm>

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealOpenForAppending(const char* path, File* file) noexcept;
SystemError RealWriteOnce(File file, const void* data, std::size_t size, std::size_t* written) noexcept;
SystemError RealCloseFile(File file) noexcept;

SystemError OpenForAppending(const char* path, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealOpenForAppending(path, file);
  *file = File::kNone;
  return verdict.error;
}

// A failure with error 0 is a short write.
SystemError WriteOnce(File file, const void* data, std::size_t size, std::size_t* written) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileWrite);
  if (!verdict.fail) return RealWriteOnce(file, data, size, written);
  *written = 0;
  if (verdict.cutTo != 0) RealWriteOnce(file, data, std::min(size, verdict.cutTo), written);
  return verdict.error;
}

// The file is closed all the same.
SystemError CloseFile(File file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileClose);
  const SystemError error = RealCloseFile(file);
  return verdict.fail ? verdict.error : error;
}

}  // namespace os
