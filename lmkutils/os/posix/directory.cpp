#include "lmkutils/os/directory.h"

#include <cerrno>
#include <climits>
#include <exception>

#include <sys/stat.h>
#include <unistd.h>

#include "lmkutils/os/posix/native_path.h"

namespace os {

SystemError CurrentDirectory(std::string& out) noexcept {
  out.clear();
  try {
    // Most paths fit; deeper ones are legal although no single system call takes them.
    for (std::size_t size = PATH_MAX;; size *= 2) {
      out.resize(size);
      if (getcwd(out.data(), out.size())) break;
      if (errno != ERANGE) {
        const SystemError error = LastSystemError();
        out.clear();
        return error;
      }
    }
    out.resize(out.find('\0'));
    // The kernel's way to say that the directory lies outside this process's root: not a path.
    if (out.empty() || out[0] != '/') {
      out.clear();
      return kErrorPathNotFound;
    }
    return 0;
  } catch (const std::exception&) {
    out.clear();
    return kErrorNotEnoughMemory;
  }
}

SystemError CurrentDirectoryOfDrive(char /*letter*/, std::string& out) noexcept {
  out.clear();
  return kErrorNotSupported;
}

SystemError ChangeDirectory(const char* path) noexcept {
  try {
    return chdir(posix::NativePath(path).c_str()) == 0 ? kSuccess : LastSystemError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError MakeDirectory(const char* path, DirectoryAccess access) noexcept {
  const mode_t mode = access == DirectoryAccess::kPrivate ? 0700 : 0777;
  try {
    return mkdir(posix::NativePath(path).c_str(), mode) == 0 ? kSuccess : LastSystemError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError RemoveEmptyDirectory(const char* path) noexcept {
  try {
    return rmdir(posix::NativePath(path).c_str()) == 0 ? kSuccess : LastSystemError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

bool IsDirectory(const std::string& path) noexcept {
  if (path.find('\0') != std::string::npos) return false;
  try {
    struct stat status;
    return stat(posix::NativePath(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace os
