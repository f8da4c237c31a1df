#include "lmkutils/os/command_line.h"

#include <exception>
#include <memory>

#include <windows.h>
// after it
#include <shellapi.h>

#include "lmkutils/os/win32/wide.h"

namespace os {
namespace {

struct LocalCloser {
  void operator()(wchar_t** block) const noexcept { LocalFree(block); }
};

}  // namespace

SystemError CommandLineArguments(std::vector<std::string>& out) noexcept {
  out.clear();
  int count = 0;
  const std::unique_ptr<wchar_t*, LocalCloser> arguments(CommandLineToArgvW(GetCommandLineW(), &count));
  if (arguments == nullptr) return GetLastError();
  try {
    for (int i = 0; i < count; ++i) {
      std::string& argument = out.emplace_back();
      if (const SystemError error = win32::Narrow(arguments.get()[i], argument)) {
        out.clear();
        return error;
      }
    }
    return kSuccess;
  } catch (const std::exception&) {
    out.clear();
    return kErrorNotEnoughMemory;
  }
}

void UseUtf8Console() noexcept {
  SetConsoleOutputCP(CP_UTF8);
}

}  // namespace os
