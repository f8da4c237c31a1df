#include "lmkutils/os/short_path.h"

#include "lmkutils/os/fault/fault.h"

namespace os {

SystemError RealShortPath(const char* path, std::string& out) noexcept;
SystemError RealNativeText(const std::string& text, std::string& out) noexcept;

SystemError ShortPath(const char* path, std::string& out) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kShortPath);
  if (!verdict.fail) return RealShortPath(path, out);
  out.clear();
  return verdict.error;
}

SystemError NativeText(const std::string& text, std::string& out) noexcept {
  const fault::Verdict verdict = fault::Consult(fault::Call::kNativeText);
  if (!verdict.fail) return RealNativeText(text, out);
  out.clear();
  return verdict.error;
}

}  // namespace os
