#include "lmkutils/os/user_folders.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string_view>

#include "lmkutils/os/posix/variable.h"

namespace os {
namespace {

using posix::Variable;

using FilePointer = std::unique_ptr<FILE, int (*)(FILE*)>;
using LinePointer = std::unique_ptr<char, void (*)(void*)>;

// Of a line XDG_DOCUMENTS_DIR="$HOME/folder" or ="/folder", with \ before a quoted character: the folder. Of
// any other line nothing. The form of freedesktop's xdg-user-dirs.
std::string FolderOfLine(std::string_view line, const std::string& home) {
  constexpr std::string_view kKey = "XDG_DOCUMENTS_DIR=\"";
  constexpr std::string_view kHome = "$HOME";
  if (!line.starts_with(kKey)) return {};
  line.remove_prefix(kKey.size());
  std::string folder;
  if (line.starts_with(kHome)) {
    folder = home;
    line.remove_prefix(kHome.size());
  }
  for (std::size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
    if (line[i] == '\\' && i + 1 < line.size()) ++i;
    folder += line[i];
  }
  return folder.starts_with('/') ? folder : std::string();
}

std::string FolderOfDesktop(const std::string& home) {
  std::string configuration = Variable("XDG_CONFIG_HOME");
  if (configuration.empty()) configuration = home + "/.config";
  const FilePointer file(std::fopen((configuration + "/user-dirs.dirs").c_str(), "re"), std::fclose);
  if (!file) return {};
  char* buffer = nullptr;
  std::size_t size = 0;
  std::string folder;
  ssize_t length;
  while ((length = getline(&buffer, &size, file.get())) > 0) {
    const LinePointer owner(buffer, std::free);
    const std::string found = FolderOfLine({buffer, static_cast<std::size_t>(length)}, home);
    if (!found.empty()) folder = found;
    buffer = nullptr;
    size = 0;
  }
  std::free(buffer);
  return folder;
}

}  // namespace

SystemError DocumentsFolder(std::string& out) noexcept {
  out.clear();
  try {
    const std::string home = Variable("HOME");
    if (home.empty()) return kErrorPathNotFound;
    out = FolderOfDesktop(home);
    if (out.empty()) out = home + "/Documents";
    return kSuccess;
  } catch (const std::exception&) {
    out.clear();
    return kErrorNotEnoughMemory;
  }
}

SystemError TemporaryFolder(std::string& out) noexcept {
  try {
    out = Variable("TMPDIR");
    if (out.empty()) out = "/tmp";
    return kSuccess;
  } catch (const std::exception&) {
    out.clear();
    return kErrorNotEnoughMemory;
  }
}

}  // namespace os
