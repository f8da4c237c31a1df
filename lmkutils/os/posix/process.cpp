#include "lmkutils/os/process.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string_view>

#include <unistd.h>

namespace os {
namespace {

using FilePointer = std::unique_ptr<FILE, int (*)(FILE*)>;
using LinePointer = std::unique_ptr<char, void (*)(void*)>;

// "start-end permissions offset device inode   path": the path when the range holds `address`.
std::string_view PathOfMapping(const char* line, std::uintptr_t address) noexcept {
  std::uintptr_t start = 0;
  std::uintptr_t end = 0;
  int path = 0;
  if (std::sscanf(line, "%" SCNxPTR "-%" SCNxPTR " %*s %*s %*s %*s %n", &start, &end, &path) < 2) return {};
  if (address < start || address >= end || path == 0 || line[path] != '/') return {};
  std::string_view found(line + path);
  if (found.ends_with('\n')) found.remove_suffix(1);
  return found;
}

}  // namespace

std::uint32_t ProcessId() noexcept {
  return static_cast<std::uint32_t>(getpid());
}

// Asked of the kernel, since the dynamic linker (dladdr) answers with the text by which a file was found: it
// may be relative to a directory that is no longer the current one, and is argv[0] for the program.
SystemError ModulePath(std::string& out) noexcept {
  out.clear();
  const FilePointer maps(std::fopen("/proc/self/maps", "re"), std::fclose);
  if (!maps) return LastSystemError();
  const auto here = reinterpret_cast<std::uintptr_t>(&ModulePath);
  char* buffer = nullptr;
  std::size_t size = 0;
  std::string_view path;
  while (path.empty() && getline(&buffer, &size, maps.get()) > 0) path = PathOfMapping(buffer, here);
  const LinePointer owner(buffer, std::free);
  if (path.empty()) return kErrorFileNotFound;
  try {
    out = path;
    return 0;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace os
