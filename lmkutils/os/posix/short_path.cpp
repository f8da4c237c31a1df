#include "lmkutils/os/short_path.h"

#include <exception>

namespace os {
namespace {

SystemError Same(const char* text, std::string& out) noexcept {
  try {
    out = text;
    return kSuccess;
  } catch (const std::exception&) {
    out.clear();
    return kErrorNotEnoughMemory;
  }
}

}  // namespace

SystemError ShortPath(const char* path, std::string& out) noexcept {
  return Same(path, out);
}

SystemError NativeText(const std::string& text, std::string& out) noexcept {
  return Same(text.c_str(), out);
}

}  // namespace os
