#include "lmkutils/files/internal/opened_file.h"

#include <utility>

#include "lmkutils/files/internal/usable_path.h"

namespace du::internal {

bool OpenedFile::OpenForReading(const std::string& path) {
  Close();
  return TryPath(path, true, [this](const char* form) { return os::OpenForReading(form, &file_); }) ==
         os::kSuccess;
}

void OpenedFile::Take(os::File file) noexcept {
  Close();
  file_ = file;
}

os::SystemError OpenedFile::Close() noexcept {
  return IsOpen() ? os::CloseFile(std::exchange(file_, os::File::kNone)) : os::kSuccess;
}

os::SystemError OpenedFile::Read(void* data, std::size_t size, std::size_t* count) noexcept {
  *count = 0;
  while (*count < size) {
    std::size_t got = 0;
    const os::SystemError error = os::ReadOnce(file_, static_cast<char*>(data) + *count, size - *count, &got);
    *count += got;
    if (error != os::kSuccess || got == 0) return error;
  }
  return os::kSuccess;
}

os::SystemError OpenedFile::Write(const void* data, std::size_t size) noexcept {
  for (std::size_t done = 0; done < size;) {
    std::size_t written = 0;
    const os::SystemError error =
        os::WriteOnce(file_, static_cast<const char*>(data) + done, size - done, &written);
    if (error != os::kSuccess) return error;
    if (written == 0) return os::kErrorDiskFull;  // it takes nothing and says nothing
    done += written;
  }
  return os::kSuccess;
}

}  // namespace du::internal
