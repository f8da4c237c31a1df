// dp::ObjectLevelLockable: gives each object of a class a spin lock.
#ifndef LMKUTILS_PLATFORM_OBJECT_LEVEL_LOCKABLE_H
#define LMKUTILS_PLATFORM_OBJECT_LEVEL_LOCKABLE_H

#include "lmkutils/platform/spin_lock.h"

namespace dp {

// Base class whose objects carry a SpinLock (spin count 500) of their own. `T` is a pointer to the derived
// class and only makes the types distinct: `class Queue : public dp::ObjectLevelLockable<Queue*>`.
template <class T>
class ObjectLevelLockable {
 public:
  // Holds the object's lock for a scope. An exception out of the unlock ends the process.
  class Guard {
   public:
    explicit Guard(const ObjectLevelLockable& object) noexcept : lock_(object.lock_) { lock_.Lock(); }
    ~Guard() { lock_.Unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    SpinLock& lock_;
  };

  // Throws std::bad_alloc when there is no memory for the lock.
  ObjectLevelLockable() { internal::RequireUsable(lock_); }
  virtual ~ObjectLevelLockable() = default;
  ObjectLevelLockable(const ObjectLevelLockable&) = delete;
  ObjectLevelLockable& operator=(const ObjectLevelLockable&) = delete;

 protected:
  // For derived classes whose sections are no scopes.
  SpinLock& ObjectLock() const noexcept { return lock_; }

 private:
  mutable SpinLock lock_{500};
};

}  // namespace dp

#endif
