#include "lmkutils/os/user_folders.h"

#include <shlobj.h>
#include <windows.h>

#include "lmkutils/os/win32/wide.h"

namespace os {

SystemError DocumentsFolder(std::string& out) noexcept {
  out.clear();
  wchar_t path[MAX_PATH];
  const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, path);
  return SUCCEEDED(result) && result != S_FALSE ? win32::Narrow(path, out) : kErrorPathNotFound;
}

SystemError TemporaryFolder(std::string& out) noexcept {
  out.clear();
  wchar_t path[MAX_PATH + 2];
  const DWORD length = GetTempPathW(MAX_PATH + 2, path);
  if (length == 0 || length > MAX_PATH + 1) return length == 0 ? GetLastError() : kErrorFilenameExceedsRange;
  return win32::Narrow({path, length}, out);
}

}  // namespace os
