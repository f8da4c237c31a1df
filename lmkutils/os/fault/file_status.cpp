#include "lmkutils/os/file_status.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealQueryFileStatus(File file, FileStatus* status) noexcept;
SystemError RealSetFileTimes(File file, std::uint64_t created, std::uint64_t modified) noexcept;
SystemError RealSetFileMode(File file, std::uint32_t mode) noexcept;
SystemError RealCheckWritable(const char* path) noexcept;

SystemError QueryFileStatus(File file, FileStatus* status) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileStatus);
  return verdict.fail ? verdict.error : RealQueryFileStatus(file, status);
}

SystemError SetFileTimes(File file, std::uint64_t created, std::uint64_t modified) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileStatus);
  return verdict.fail ? verdict.error : RealSetFileTimes(file, created, modified);
}

SystemError SetFileMode(File file, std::uint32_t mode) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileStatus);
  return verdict.fail ? verdict.error : RealSetFileMode(file, mode);
}

SystemError CheckWritable(const char* path) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileStatus);
  return verdict.fail ? verdict.error : RealCheckWritable(path);
}

}  // namespace os
