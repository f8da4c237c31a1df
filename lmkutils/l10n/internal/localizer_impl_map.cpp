#include "lmkutils/l10n/internal/localizer_impl_map.h"

#include <utility>

#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fork_hooks.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/singleton.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/text/internal/lasting_symbol.h"
#include "lmkutils/trace/internal/inside_mark.h"

namespace du::internal {
namespace {

using dp::internal::ScopedLock;

// Before that of dp::LmInfo, which a resource needs when it is set up.
constexpr unsigned kLongevity = 0xFFFFFFFB;

constinit dp::internal::LazySpinLock mapLock;
constinit LocalizerImplGenerator* currentGenerator = nullptr;  // guarded by mapLock; null: the library's own

// Whether the fork under way on this thread has taken the lock.
constinit thread_local bool heldForFork = false;

// A child process made while another thread sets a resource up gets the lock free and the map whole. A trace
// consumer forks without the lock: whoever has that may be waiting for the consumer.
void AddForkHooks() noexcept {
  const os::ForkHook release = []() noexcept {
    if (std::exchange(heldForFork, false)) mapLock.Unlock();
  };
  const os::ForkHook hold = []() noexcept {
    heldForFork = !dp::internal::InsideMark::IsSet();
    if (heldForFork) mapLock.Lock();
  };
  os::AddForkHooks(os::ForkRank::kOutermost, {.before = hold, .inParent = release, .inChild = release});
}

SmartPtr<Localizer::Impl> Create(const Symbol& name) {
  SmartPtr<Localizer::Impl> impl(currentGenerator != nullptr ? currentGenerator->Create(name)
                                                             : new Localizer::Impl(name));
  if (!impl) throw LocalizerError("no object was made for resource \"" + std::string(name) + "\".");
  return impl;
}

}  // namespace

struct LocalizerImplMap::Traits {
  using Object = LocalizerImplMap;
  // The table of symbols brings the common allocator with it.
  static void Prepare() { static_cast<void>(Symbol("LocalizerImplMap")); }
  static LocalizerImplMap* Create() {
    mapLock.Get();  // from here on locking cannot fail
    AddForkHooks();
    return new LocalizerImplMap;
  }
  static void Destroy(LocalizerImplMap* map) noexcept;
  static unsigned Longevity() noexcept { return kLongevity; }
};

// Where the other threads are dead, one of them may have died inside the lock: the map is left to the system
// then. The objects go when the lock is free, since their destructors may be an application's.
void LocalizerImplMap::Traits::Destroy(LocalizerImplMap* map) noexcept {
  if (!os::GetCapabilities().exitKillsThreads) {
    mapLock.Lock();
  } else if (!mapLock.TryLock()) {
    return;
  }
  HashMap<Symbol, SmartPtr<Localizer::Impl>> impls;
  impls.swap(map->impls_);
  currentGenerator = nullptr;
  mapLock.Unlock();
  delete map;
}

// Holds the place of a name from the first moment on, and gives it back when the resource fails.
class LocalizerImplMap::SetUp {
 public:
  SetUp(LocalizerImplMap& map, const Symbol& name) : map_(map), name_(name) {
    map_.impls_.try_emplace(name_, nullptr);
  }
  SetUp(const SetUp&) = delete;
  SetUp& operator=(const SetUp&) = delete;
  ~SetUp() {
    if (!done_) map_.impls_.erase(name_);
  }

  // By a look-up of its own: the map may have grown meanwhile.
  void Finish(const SmartPtr<Localizer::Impl>& impl) {
    map_.impls_.at(name_) = impl;
    done_ = true;
  }

 private:
  LocalizerImplMap& map_;
  const Symbol& name_;
  bool done_ = false;
};

SmartPtr<Localizer::Impl> LocalizerImplMap::Get(const char* resourceName) {
  // No exception is made of it: the end of a process may have taken the means to catch one.
  if (dp::internal::Singleton<Traits>::IsDestroyed() || symbolTableGone.load()) return nullptr;
  const Symbol name(resourceName);
  // Before the lock: both trace, or make what others wait for.
  static_cast<void>(dp::LmInfo::Instance());
  static_cast<void>(dp::internal::Singleton<Traits>::Instance());
  const ScopedLock guard(mapLock);
  LocalizerImplMap* const map = dp::internal::Singleton<Traits>::Existing();
  return map != nullptr ? map->FindOrSetUp(name) : nullptr;
}

void LocalizerImplMap::SetGenerator(LocalizerImplGenerator* generator) {
  const ScopedLock guard(mapLock);
  currentGenerator = generator;
}

Symbol LocalizerImplMap::GetDebugClassName() const {
  static const LastingSymbol name("LocalizerImplMap");
  return name.Get();
}

SmartPtr<Localizer::Impl> LocalizerImplMap::FindOrSetUp(const Symbol& name) {
  const auto found = impls_.find(name);
  if (found != impls_.end()) {
    if (found->second) return found->second;
    throw LocalizerError("resource \"" + std::string(name) + "\" was asked for while it is being set up.");
  }
  SetUp setUp(*this, name);
  SmartPtr<Localizer::Impl> impl = Create(name);
  impl->Initialize();
  setUp.Finish(impl);
  return impl;
}

}  // namespace du::internal
