// FileSystem: opening files.
#include <cerrno>
#include <string_view>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/os/descriptor.h"
#include "lmkutils/os/saved_error.h"

namespace du {
namespace {

// The flags of open that a mode of fopen stands for; -1 for a mode that is none. What follows a ',' is for
// the stream only.
int FlagsOfMode(std::string_view mode) noexcept {
  mode = mode.substr(0, mode.find(','));
  const auto has = [mode](char c) { return mode.find(c) != std::string_view::npos; };
  int flags = has('+') ? os::kOpenReadWrite : os::kOpenWriteOnly;
  if (mode.starts_with('r')) {
    if (!has('+')) flags = os::kOpenReadOnly;
  } else if (mode.starts_with('w')) {
    flags |= os::kOpenCreate | os::kOpenTruncate;
  } else if (mode.starts_with('a')) {
    flags |= os::kOpenCreate | os::kOpenAppend;
  } else {
    return -1;
  }
  if (has('x')) flags |= os::kOpenExclusive;
  if (has('b')) flags |= os::kOpenBinary;
  return flags;
}

// What the stream of an open descriptor is made with: 'x' is done by then, and not known to all run-times.
std::string StreamMode(std::string mode) {
  const std::size_t flag = mode.substr(0, mode.find(',')).find('x');
  if (flag != std::string::npos) mode.erase(flag, 1);
  return mode;
}

constexpr int kPermissionsOfNewFiles = 0666;

std::FILE* OpenStream(const std::string& path, const char* mode) {
  const int flags = FlagsOfMode(internal::TextOf(mode));
  if (flags == -1) {
    os::SetLastSystemError(os::kErrorInvalidParameter);
    return nullptr;
  }
  const std::string streamMode = StreamMode(mode);
  const int descriptor = FileSystem::lmopen(path, flags, kPermissionsOfNewFiles);
  if (descriptor < 0) return nullptr;
  std::FILE* stream = nullptr;
  if (const os::SystemError error = os::StreamOfDescriptor(descriptor, streamMode.c_str(), &stream)) {
    os::CloseDescriptor(descriptor);
    os::SetLastSystemError(error);
  }
  return stream;
}

}  // namespace

int FileSystem::lmopen(const char* path, int flags, int mode) {
  return lmopen(std::string(internal::TextOf(path)), flags, mode);
}

int FileSystem::lmopen(const std::string& path, int flags, int mode) {
  int descriptor = -1;
  internal::TryPath(path, true,
                    [&](const char* form) { return os::OpenDescriptor(form, flags, mode, &descriptor); });
  return descriptor;
}

std::FILE* FileSystem::lmfopen(const char* path, const char* mode) {
  return OpenStream(std::string(internal::TextOf(path)), mode);
}

std::FILE* FileSystem::lmfopen(const std::string& path, const char* mode) {
  return OpenStream(path, mode);
}

int FileSystem::lmfopen_s(std::FILE** file, const char* path, const char* mode) {
  return lmfopen_s(file, std::string(internal::TextOf(path)), mode);
}

int FileSystem::lmfopen_s(std::FILE** file, const std::string& path, const char* mode) {
  if (file == nullptr) return EINVAL;
  *file = OpenStream(path, mode);
  return *file != nullptr ? 0 : errno;
}

}  // namespace du
