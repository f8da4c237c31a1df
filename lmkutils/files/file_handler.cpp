#include "lmkutils/files/file_handler.h"

#include <utility>

#include "lmkutils/files/file_system.h"
#include "lmkutils/os/descriptor.h"

namespace du {

FileHandler::~FileHandler() {
  Close();
}

bool FileHandler::Close() noexcept {
  std::FILE* const stream = Release();
  return stream == nullptr || os::CloseStream(stream) == os::kSuccess;
}

std::FILE* FileHandler::Release() noexcept {
  descriptor_ = -1;
  return std::exchange(stream_, nullptr);
}

bool FileHandler::_Open(const std::string& path, const char* mode) {
  Close();
  stream_ = FileSystem::lmfopen(path, mode);
  if (stream_ == nullptr) return false;
  descriptor_ = os::DescriptorOfStream(stream_);
  return true;
}

bool FileHandler::_Open(const std::string& path, int flags, int mode, const char* fdopenMode) {
  Close();
  const int descriptor = FileSystem::lmopen(path, flags, mode);
  if (descriptor < 0) return false;
  if (const os::SystemError error = os::StreamOfDescriptor(descriptor, fdopenMode, &stream_)) {
    os::CloseDescriptor(descriptor);
    os::SetLastSystemError(error);
    return false;
  }
  descriptor_ = descriptor;
  return true;
}

ReadFileHandler::~ReadFileHandler() = default;

bool ReadFileHandler::Open(const std::string& path, int flags, int mode) {
  return _Open(path, flags, mode, "rb");
}

bool ReadFileHandler::Open(const std::string& path) {
  return _Open(path, "rb");
}

WriteFileHandler::~WriteFileHandler() = default;

bool WriteFileHandler::Open(const std::string& path, int flags, int mode) {
  return _Open(path, flags, mode, "wb");
}

bool WriteFileHandler::Open(const std::string& path) {
  return _Open(path, "wb");
}

}  // namespace du
