// A file of the seam that is closed with its owner.
#ifndef LMKUTILS_FILES_INTERNAL_OPENED_FILE_H
#define LMKUTILS_FILES_INTERNAL_OPENED_FILE_H

#include <cstddef>
#include <string>

#include "lmkutils/os/file.h"

namespace du::internal {

class OpenedFile {
 public:
  OpenedFile() noexcept = default;
  explicit OpenedFile(os::File file) noexcept : file_(file) {}
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;
  ~OpenedFile() { Close(); }

  // Opens a file with contents (no directory, pipe or device) for reading; false on failure.
  bool OpenForReading(const std::string& path);
  // Closes the one that is open.
  void Take(os::File file) noexcept;
  bool IsOpen() const noexcept { return file_ != os::File::kNone; }
  os::File Get() const noexcept { return file_; }
  os::SystemError Close() noexcept;  // 0 when none is open

  // As many bytes as there are, up to `size`; fewer only at the end of the file.
  os::SystemError Read(void* data, std::size_t size, std::size_t* count) noexcept;
  // All of them, or an error.
  os::SystemError Write(const void* data, std::size_t size) noexcept;

 private:
  os::File file_ = os::File::kNone;
};

}  // namespace du::internal

#endif
