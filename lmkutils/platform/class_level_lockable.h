// dp::ClassLevelLockable: gives a class one spin lock for all its objects.
#ifndef LMKUTILS_PLATFORM_CLASS_LEVEL_LOCKABLE_H
#define LMKUTILS_PLATFORM_CLASS_LEVEL_LOCKABLE_H

#include <atomic>

#include "lmkutils/platform/spin_lock.h"

namespace dp {

// Base class whose objects share one SpinLock (spin count 500), created on first use and kept until the
// process ends. `T` is a pointer to the derived class.
//
// A static of a template is a second copy in each module that uses it. A class that several modules lock
// therefore declares `extern template class dp::ClassLevelLockable<Its*>;` in its header, and one source
// file has `template class LMK_API dp::ClassLevelLockable<Its*>;`. A class that stays inside one module
// needs neither.
template <class T>
class ClassLevelLockable {
 public:
  // Holds the class's lock for a scope. An exception out of the unlock ends the process.
  class Guard {
   public:
    // Throws std::bad_alloc when the lock cannot be created.
    Guard() : lock_(internal::InstalledLock(slot_)) { lock_.Lock(); }
    ~Guard() { lock_.Unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    SpinLock& lock_;
  };

  // Holds the class's lock for a scope if nobody else has it: for the end of the process, where the owner
  // may be dead.
  class TryGuard {
   public:
    // Throws std::bad_alloc when the lock cannot be created.
    TryGuard() : lock_(internal::InstalledLock(slot_)), locked_(lock_.TryLock()) {}
    ~TryGuard() {
      if (locked_) lock_.Unlock();
    }
    TryGuard(const TryGuard&) = delete;
    TryGuard& operator=(const TryGuard&) = delete;

    [[nodiscard]] bool IsLocked() const noexcept { return locked_; }

   private:
    SpinLock& lock_;
    const bool locked_;
  };

  virtual ~ClassLevelLockable() = default;

 private:
  static std::atomic<SpinLock*> slot_;
};

template <class T>
constinit std::atomic<SpinLock*> ClassLevelLockable<T>::slot_{nullptr};

}  // namespace dp

#endif
