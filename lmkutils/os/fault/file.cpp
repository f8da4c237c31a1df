#include "lmkutils/os/file.h"

#include <algorithm>

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealOpenForAppending(const char* path, File* file) noexcept;
SystemError RealOpenForReading(const char* path, File* file) noexcept;
SystemError RealOpenForChanging(const char* path, File* file) noexcept;
SystemError RealCreatePrivateFile(const char* path, File* file) noexcept;
SystemError RealRemoveFile(const char* path) noexcept;
SystemError RealRenameEntry(const char* from, const char* to) noexcept;
SystemError RealReadOnce(File file, void* data, std::size_t size, std::size_t* count) noexcept;
SystemError RealSeekFile(File file, std::int64_t offset, SeekFrom from, std::int64_t* position) noexcept;
SystemError RealResizeFile(File file, std::int64_t size) noexcept;
SystemError RealWriteOnce(File file, const void* data, std::size_t size, std::size_t* written) noexcept;
SystemError RealCloseFile(File file) noexcept;

SystemError OpenForAppending(const char* path, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealOpenForAppending(path, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError OpenForReading(const char* path, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealOpenForReading(path, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError OpenForChanging(const char* path, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileOpen);
  if (!verdict.fail) return RealOpenForChanging(path, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError CreatePrivateFile(const char* path, File* file) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileCreate);
  if (!verdict.fail) return RealCreatePrivateFile(path, file);
  *file = File::kNone;
  return verdict.error;
}

SystemError RemoveFile(const char* path) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileRemove);
  return verdict.fail ? verdict.error : RealRemoveFile(path);
}

SystemError RenameEntry(const char* from, const char* to) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileRename);
  return verdict.fail ? verdict.error : RealRenameEntry(from, to);
}

// A failure with error 0 is a short read, without bytes an early end.
SystemError ReadOnce(File file, void* data, std::size_t size, std::size_t* count) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileRead);
  if (!verdict.fail) return RealReadOnce(file, data, size, count);
  *count = 0;
  if (verdict.cutTo != 0) RealReadOnce(file, data, std::min(size, verdict.cutTo), count);
  return verdict.error;
}

SystemError SeekFile(File file, std::int64_t offset, SeekFrom from, std::int64_t* position) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileSeek);
  return verdict.fail ? verdict.error : RealSeekFile(file, offset, from, position);
}

SystemError ResizeFile(File file, std::int64_t size) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kFileResize);
  return verdict.fail ? verdict.error : RealResizeFile(file, size);
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
