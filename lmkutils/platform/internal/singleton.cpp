#include "lmkutils/platform/internal/singleton.h"

#include <stdexcept>

#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/platform/internal/global_tracker.h"
#include "lmkutils/platform/internal/scoped_lock.h"

namespace dp::internal {
namespace {

// Marks the section in which the object is made.
class CreationMark {
 public:
  explicit CreationMark(bool& mark) : mark_(mark) {
    if (mark_) throw std::logic_error("A process-wide object was asked for during its own creation.");
    mark_ = true;
  }
  ~CreationMark() { mark_ = false; }
  CreationMark(const CreationMark&) = delete;
  CreationMark& operator=(const CreationMark&) = delete;

 private:
  bool& mark_;
};

// A created object that nobody has seen yet.
struct Unpublished {
  std::atomic<void*>& slot;
  void* object;
};

}  // namespace

void* SingletonCore::Create(const Operations& operations) {
  if (IsDestroyed()) return nullptr;
  // Before the lock: what one object needs during its creation may be what makes another one wait for this
  // one.
  operations.prepare();

  const ScopedLock guard(lock_);
  if (void* const existing = Existing()) return existing;
  if (IsDestroyed()) return nullptr;
  const CreationMark mark(creating_);
  Unpublished fresh{object_, operations.create()};
  try {
    GetGlobalTracker().Schedule(
        operations.longevity, operations.atExit,
        [](void* argument) noexcept {
          const auto* const created = static_cast<Unpublished*>(argument);
          created->slot.store(created->object, std::memory_order_release);
        },
        &fresh);
  } catch (...) {
    operations.destroy(fresh.object);
    throw;
  }
  return fresh.object;
}

void SingletonCore::ThrowDeadReference() {
  throw DeadReference();
}

void SingletonCore::Teardown(const Operations& operations) noexcept {
  destroyed_.store(true, std::memory_order_release);
  if (void* const object = object_.exchange(nullptr, std::memory_order_acq_rel)) operations.destroy(object);
}

}  // namespace dp::internal
