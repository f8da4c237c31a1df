#include "lmkutils/platform/lm_info.h"

#include <memory>
#include <utility>

#include "lmkutils/os/process.h"
#include "lmkutils/os/system_info.h"
#include "lmkutils/platform/internal/installation.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/singleton.h"

namespace dp {
namespace {

using internal::ScopedLock;

// What the host application named before anything asked. The text is never freed: an object that could not be
// completed is made again from it.
constinit internal::LazySpinLock hostRootLock;
constinit std::string* hostRoot = nullptr;
constinit bool hostRootTaken = false;

// The host's root, which from now on stays what it is; empty when none was named.
std::string TakeHostRoot() {
  const ScopedLock guard(hostRootLock);
  hostRootTaken = true;
  return hostRoot ? *hostRoot : std::string();
}

std::string OwnRoot() {
  std::string module;
  return os::ModulePath(module) == 0 ? internal::FindInstallationRoot(module) : std::string();
}

}  // namespace

struct LmInfo::Traits {
  using Object = LmInfo;
  static void Prepare() {}  // plain text: no other process-wide object is needed
  static LmInfo* Create() {
    std::string root = TakeHostRoot();
    return new LmInfo(root.empty() ? OwnRoot() : std::move(root));
  }
  static void Destroy(LmInfo* info) noexcept { delete info; }
  static unsigned Longevity() noexcept { return GetLongevity(static_cast<LmInfo*>(nullptr)); }
};

unsigned GetLongevity(LmInfo*) noexcept {
  return 0xFFFFFFFC;
}

LmInfo& LmInfo::Instance() {
  return internal::Singleton<Traits>::Instance();
}

bool LmInfo::SetInstallationRoot(const std::string& path) {
  if (!internal::IsAcceptableRoot(path)) return false;
  auto named = std::make_unique<std::string>(internal::InSystemForm(path));
  {
    const ScopedLock guard(hostRootLock);
    if (hostRootTaken) return false;
    named.reset(std::exchange(hostRoot, named.release()));
  }
  return true;
}

LmInfo::LmInfo(std::string root)
    : root_(std::move(root)), dataDirectory_(internal::PathBelow(root_, internal::kDataDirectory)) {}

const char* LmInfo::GetPlatformName() noexcept {
  return os::PlatformName();
}

std::string LmInfo::GetDataFile(const std::string& relativeName) const {
  return internal::PathBelow(dataDirectory_, relativeName);
}

std::string LmInfo::GetTraceStyleSheet() const {
  return GetDataFile("/lmtrace/lmtrace.xsl");
}

}  // namespace dp
