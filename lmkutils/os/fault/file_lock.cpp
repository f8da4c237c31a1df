#include "lmkutils/os/file_lock.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealOpenLockFile(const char* path, File* file) noexcept;
SystemError RealLockRange(File file, std::uint64_t length) noexcept;
SystemError RealUnlockRange(File file, std::uint64_t length) noexcept;

SystemError OpenLockFile(const char* path, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealOpenLockFile(path, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError LockRange(File file, std::uint64_t length) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileLock);
  return verdict.fail ? verdict.error : RealLockRange(file, length);
}

SystemError UnlockRange(File file, std::uint64_t length) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileUnlock);
  return verdict.fail ? verdict.error : RealUnlockRange(file, length);
}

}  // namespace os
