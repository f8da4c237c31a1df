#include "lmkutils/trace/internal/trace_controller_impl.h"

#include <algorithm>
#include <new>
#include <string>

#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/fork_hooks.h"
#include "lmkutils/os/saved_error.h"
#include "lmkutils/os/viewer_window.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/internal/singleton.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/trace/internal/environment_consumer.h"
#include "lmkutils/trace/internal/inside_mark.h"
#include "lmkutils/trace/internal/tracing.h"
#include "lmkutils/trace/trace_formatter.h"
#include "lmkutils/trace/window_consumer.h"

namespace dp::internal {
namespace {

constexpr char kViewer[] = "lmtracer";  // the window's class and title

// Both outlive everything; see the class comment.
constinit LazySpinLock controllerLock;
alignas(TraceControllerImpl) constinit std::byte controllerStorage[sizeof(TraceControllerImpl)]{};

// A child process made while another thread is inside a delivery gets the lock free and the consumers whole.
void AddForkHooksOnce() {
  static const bool added =
      os::AddForkHooks(os::ForkRank::kOuter,
                       {[]() noexcept { controllerLock.Lock(); }, []() noexcept { controllerLock.Unlock(); },
                        []() noexcept {
                          RememberProcessId();
                          controllerLock.Unlock();
                        }});
  static_cast<void>(added);
}

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\n\v\f\r") == text.npos;
}

inline bool Takes(TraceConsumer& consumer, const TraceFormatter& record) noexcept {
  try {
    return consumer.ConsumeMessage(&record);
  } catch (...) {
    return false;
  }
}

void WriteHeader(TraceConsumer& consumer) {
  TraceFormatter header = StampedRecord(TraceType::Info, "TraceConsumer", "Trace");
  header.DontBroadCast();
  header << "Version: "
         << "20.0.0.0"
         << ", Platform: " << LmInfo::GetPlatformName() << ", Operating System: " << LmSysInfo::GetOsName()
         << " , " << LmSysInfo::GetOsVersion();
  Takes(consumer, header);
}

void Release(TraceConsumer& consumer) noexcept {
  try {
    consumer.Release();
  } catch (...) {
  }
}

}  // namespace

struct TraceControllerImpl::Traits {
  using Object = TraceControllerImpl;

  static void Prepare() {}
  static TraceControllerImpl* Create() {
    // Constructed once, also when the creation fails later on and is tried again.
    static TraceControllerImpl* const controller = new (controllerStorage) TraceControllerImpl;
    controller->Begin();
    return controller;
  }
  static void Destroy(TraceControllerImpl* controller) noexcept {
    controller->End(Singleton<Traits>::IsDestroyed());
  }
  static unsigned Longevity() noexcept { return GetLongevity(static_cast<TraceController*>(nullptr)); }
};

TraceControllerImpl& TraceControllerImpl::Get() {
  TraceControllerImpl& controller = Singleton<Traits>::Instance();
  if (!controller.viewerSought_.load(std::memory_order_relaxed)) controller.SeekViewer();
  return controller;
}

TraceControllerImpl* TraceControllerImpl::Existing() noexcept {
  return Singleton<Traits>::Existing();
}

void TraceControllerImpl::Begin() {
  controllerLock.Get();  // from here on locking cannot fail
  debugMasks_ = ParseDebugMasks(Environment::Get("LMTRACE_DEBUG"));
  AddForkHooksOnce();
  RememberProcessId();
  traceState.store(TraceState::kOff, std::memory_order_release);
}

void TraceControllerImpl::End(bool forGood) noexcept {
  const InsideMark inside;
  const bool wasOn = IsActive();
  const TraceState state = !forGood ? TraceState::kUnknown : wasOn ? TraceState::kEnded : TraceState::kOff;
  // First of all, so that threads which trace all the time leave the lock alone.
  traceState.store(state, std::memory_order_release);
  // Where the other threads are dead, one of them may have died inside the lock.
  if (!os::GetCapabilities().exitKillsThreads) {
    controllerLock.Lock();
  } else if (!controllerLock.TryLock()) {
    return;
  }
  ended_ = forGood;
  traceState.store(state, std::memory_order_release);  // a consumer may have been added meanwhile
  Consumers consumers;
  DebugMasks masks;
  consumers.swap(consumers_);
  masks.swap(debugMasks_);
  controllerLock.Unlock();
  while (!consumers.empty()) {
    Release(*consumers.back());
    consumers.pop_back();
  }
}

// After the creation, holding no lock: adding the consumer asks the installation information, which traces.
void TraceControllerImpl::SeekViewer() noexcept {
  const os::SavedError saved;
  const InsideMark inside;
  if (!inside.IsOutermost() || viewerSought_.exchange(true)) return;
  if (!os::GetCapabilities().traceViewerKnown) return;
  void* const window = os::FindViewerWindow(kViewer, kViewer);
  if (window == nullptr) return;
  try {
    Add(std::make_unique<WindowConsumer>(window));
  } catch (...) {
  }
}

void TraceControllerImpl::Initialize() {
  const os::SavedError saved;
  const InsideMark inside;
  if (!inside.IsOutermost() || initialised_.exchange(true)) return;
  try {
    if (std::unique_ptr<TraceConsumer> consumer = MakeConsumerFromEnvironment()) Add(std::move(consumer));
  } catch (...) {
  }
}

bool TraceControllerImpl::AddConsumer(std::unique_ptr<TraceConsumer> consumer) {
  const os::SavedError saved;
  const InsideMark inside;
  return inside.IsOutermost() && consumer != nullptr && Add(std::move(consumer));
}

bool TraceControllerImpl::Add(std::unique_ptr<TraceConsumer> consumer) noexcept {
  try {
    consumer->Install();
    WriteHeader(*consumer);
    if (!IsBlank(Environment::Get("LMTRACE_DEBUG"))) consumer->PrintFileName();
    if (Publish(consumer)) return true;
  } catch (...) {
  }
  Release(*consumer);
  return false;
}

// Leaves the consumer with the caller when it cannot be taken.
bool TraceControllerImpl::Publish(std::unique_ptr<TraceConsumer>& consumer) {
  const ScopedLock guard(controllerLock);
  if (ended_) return false;
  consumers_.reserve(consumers_.size() + 1);
  consumers_.push_back(std::move(consumer));
  traceState.store(TraceState::kOn, std::memory_order_release);
  return true;
}

bool TraceControllerImpl::RemoveConsumer(TraceConsumer* consumer) {
  const os::SavedError saved;
  const InsideMark inside;
  if (!inside.IsOutermost()) return false;
  std::unique_ptr<TraceConsumer> removed;
  {
    const ScopedLock guard(controllerLock);
    const auto found = std::find_if(consumers_.begin(), consumers_.end(),
                                    [consumer](const auto& owned) { return owned.get() == consumer; });
    if (found == consumers_.end()) return false;
    removed = std::move(*found);
    consumers_.erase(found);
    if (consumers_.empty()) traceState.store(TraceState::kOff, std::memory_order_release);
  }
  Release(*removed);
  return true;
}

void TraceControllerImpl::RemoveAllConsumers() {
  const os::SavedError saved;
  const InsideMark inside;
  if (!inside.IsOutermost()) return;
  Consumers removed;
  {
    const ScopedLock guard(controllerLock);
    removed.swap(consumers_);
    if (!ended_) traceState.store(TraceState::kOff, std::memory_order_release);
  }
  for (; !removed.empty(); removed.pop_back()) Release(*removed.back());
}

bool TraceControllerImpl::HasConsumer(const TraceConsumer* consumer) {
  if (InsideMark::IsSet()) return false;
  const ScopedLock guard(controllerLock);
  return std::any_of(consumers_.begin(), consumers_.end(),
                     [consumer](const auto& owned) { return owned.get() == consumer; });
}

std::size_t TraceControllerImpl::GetConsumerCount() {
  if (InsideMark::IsSet()) return 0;
  const ScopedLock guard(controllerLock);
  return consumers_.size();
}

bool TraceControllerImpl::IsActive() const {
  return traceState.load(std::memory_order_acquire) == TraceState::kOn;
}

unsigned TraceControllerImpl::GetDebugMask(const char* key, const char* subKey) const {
  const ScopedLock guard(controllerLock);
  if (debugMasks_.empty()) return 0;
  try {
    std::string name = key != nullptr ? key : "";
    if (subKey != nullptr && *subKey != '\0') name.append("::").append(subKey);
    const auto mask = debugMasks_.find(name);
    return mask != debugMasks_.end() ? mask->second : 0;
  } catch (...) {
    return 0;
  }
}

void TraceControllerImpl::Broadcast(const TraceFormatter& record) {
  if (record.IsInert()) return;
  const InsideMark inside;
  if (!inside.IsOutermost() || !Offer(record)) CountDropped();
}

bool TraceControllerImpl::Offer(const TraceFormatter& record) noexcept {
  const ScopedLock guard(controllerLock);
  for (auto consumer = consumers_.rbegin(); consumer != consumers_.rend(); ++consumer)
    if (Takes(**consumer, record)) return true;
  return false;
}

}  // namespace dp::internal
