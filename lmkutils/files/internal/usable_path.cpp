#include "lmkutils/files/internal/usable_path.h"

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/saved_error.h"
#include "lmkutils/text/encoding.h"

namespace du::internal {

bool IsUsablePath(const std::string& path) noexcept {
  if (path.empty()) {
    os::SetLastSystemError(os::kErrorFileNotFound);
    return false;
  }
  const bool endsEarly = path.find('\0') != std::string::npos;
  if (!endsEarly && CheckUtf8(path)) return true;
  Trace(dp::TraceType::Warning, "The path \"%s\" %s.", path.c_str(),
        endsEarly ? "has a NUL inside" : "is not UTF-8");
  os::SetLastSystemError(os::kErrorInvalidName);
  return false;
}

std::string OtherFormToTry(const std::string& path, bool isFile) {
  const os::SavedError keep;
  if (!os::GetCapabilities().longPathsHavePrefix) return {};
  std::string longForm = FileSystem::GenerateLongFilePath(path, isFile);
  if (longForm == path) longForm.clear();
  return longForm;
}

}  // namespace du::internal
