#include "lmkutils/files/internal/copy_into.h"

#include <vector>

#include "lmkutils/files/internal/temporary_file.h"
#include "lmkutils/os/file_status.h"

namespace du::internal {
namespace {

constexpr std::size_t kBlock = 256 * 1024;

os::SystemError CopyContents(OpenedFile& source, OpenedFile& target, std::vector<char>& block) {
  for (;;) {
    std::size_t count = 0;
    if (const os::SystemError error = source.Read(block.data(), block.size(), &count)) return error;
    if (count == 0) return os::kSuccess;
    if (const os::SystemError error = target.Write(block.data(), count)) return error;
  }
}

// The mode last: it may take the right to write away.
os::SystemError CopyAll(OpenedFile& source, const os::FileStatus& status, OpenedFile& target,
                        std::vector<char>& block) {
  if (const os::SystemError error = CopyContents(source, target, block)) return error;
  if (const os::SystemError error = os::SetFileTimes(target.Get(), status.created, status.modified))
    return error;
  if (const os::SystemError error = os::SetFileMode(target.Get(), status.mode)) return error;
  return target.Close();
}

}  // namespace

os::SystemError CopyInto(OpenedFile& source, os::Tree* directory, const std::string& name) {
  os::FileStatus status;
  if (const os::SystemError error = os::QueryFileStatus(source.Get(), &status)) return error;
  std::vector<char> block(kBlock);  // here, so that nothing throws once there is a file to be removed
  os::File file = os::File::kNone;
  std::string temporary;
  if (const os::SystemError error =
          CreateTemporary(directory, "copy-", os::TreeCreatePrivateFile, &file, &temporary))
    return error;
  OpenedFile target(file);
  os::SystemError error = CopyAll(source, status, target, block);
  target.Close();
  if (error == os::kSuccess) error = os::TreeReplace(directory, temporary, name);
  if (error != os::kSuccess) os::TreeRemoveFile(directory, temporary);
  return error;
}

}  // namespace du::internal
