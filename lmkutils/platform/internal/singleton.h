// The pattern of all process-wide objects: created on first use, destroyed at exit in order of longevity.
#ifndef LMKUTILS_PLATFORM_INTERNAL_SINGLETON_H
#define LMKUTILS_PLATFORM_INTERNAL_SINGLETON_H

#include <atomic>

#include "lmkutils/platform/at_exit.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"

namespace dp::internal {

// What a singleton is made of, whatever its type. Constant-initialised; all operations from any thread.
class SingletonCore {
 public:
  struct Operations {
    void (*prepare)();
    void* (*create)();
    void (*destroy)(void*) noexcept;
    unsigned longevity;
    AtExitFunction atExit;  // ends in Teardown of the same core
  };

  constexpr SingletonCore() noexcept = default;
  SingletonCore(const SingletonCore&) = delete;
  SingletonCore& operator=(const SingletonCore&) = delete;

  void* Existing() const noexcept { return object_.load(std::memory_order_acquire); }
  bool IsDestroyed() const noexcept { return destroyed_.load(std::memory_order_acquire); }

  // The slow way of Instance: null after the end. Throws std::bad_alloc, std::logic_error when `create`
  // comes back here on the same thread, and what the operations throw; then nothing remains of the attempt
  // and the next one may succeed.
  void* Create(const Operations& operations);

  [[noreturn]] static void ThrowDeadReference();

  // Takes no lock, so that it cannot meet a thread that creates a singleton. The object is out of reach
  // before its destructor begins: what that one calls must not be handed a half-dead object.
  void Teardown(const Operations& operations) noexcept;

 private:
  std::atomic<void*> object_{nullptr};
  std::atomic<bool> destroyed_{false};
  bool creating_ = false;  // guarded by lock_
  LazySpinLock lock_;
};

// `Traits`, a type of the class's own source file, since the state exists once only if the template is
// instantiated in one module:
//   using Object
//   static void Prepare()                       touches, holding no lock, the singletons that Create needs
//   static Object* Create()
//   static void Destroy(Object*) noexcept
//   static unsigned Longevity() noexcept
template <class Traits>
class Singleton {
 public:
  using Object = typename Traits::Object;

  // Creates on first use. Throws DeadReference after the object's end, and what SingletonCore::Create
  // throws.
  static Object& Instance() {
    void* object = core_.Existing();
    if (object == nullptr) object = core_.Create(MakeOperations());
    if (object == nullptr) SingletonCore::ThrowDeadReference();
    return *static_cast<Object*>(object);
  }

  // As Instance, but null where that throws. After the end no exception is made: the end of a process may
  // have taken the means to catch one.
  static Object* InstanceOrNull() noexcept {
    if (Object* const object = Existing()) return object;
    try {
      return static_cast<Object*>(core_.Create(MakeOperations()));
    } catch (...) {
      return nullptr;
    }
  }

  // Null before the first use and after the end; never creates.
  static Object* Existing() noexcept { return static_cast<Object*>(core_.Existing()); }

  static bool IsDestroyed() noexcept { return core_.IsDestroyed(); }

 private:
  static SingletonCore::Operations MakeOperations() {
    return {.prepare = &Traits::Prepare,
            .create = []() -> void* { return Traits::Create(); },
            .destroy = [](void* object) noexcept { Traits::Destroy(static_cast<Object*>(object)); },
            .longevity = Traits::Longevity(),
            .atExit = [] { core_.Teardown(MakeOperations()); }};
  }

  static constinit inline SingletonCore core_{};
};

}  // namespace dp::internal

#endif
