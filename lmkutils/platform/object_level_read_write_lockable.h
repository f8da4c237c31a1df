// dp::ObjectLevelReadWriteLockable: gives each object of a class a read-write lock.
#ifndef LMKUTILS_PLATFORM_OBJECT_LEVEL_READ_WRITE_LOCKABLE_H
#define LMKUTILS_PLATFORM_OBJECT_LEVEL_READ_WRITE_LOCKABLE_H

#include "lmkutils/platform/read_write_lock.h"

namespace dp {

// Base class whose objects carry a ReadWriteLock of their own. `T` is a pointer to the derived class and
// only makes the types distinct.
template <class T>
class ObjectLevelReadWriteLockable {
 public:
  // Holds the object's lock for reading for a scope. An exception out of the unlock ends the process.
  class ReadGuard {
   public:
    // Throws what ReadWriteLock::ReadLock throws.
    explicit ReadGuard(const ObjectLevelReadWriteLockable& object) : lock_(object.lock_) { lock_.ReadLock(); }
    ~ReadGuard() { lock_.ReadUnlock(); }
    ReadGuard(const ReadGuard&) = delete;
    ReadGuard& operator=(const ReadGuard&) = delete;

   private:
    ReadWriteLock& lock_;
  };

  // Holds the object's lock for writing for a scope. An exception out of the unlock ends the process.
  class WriteGuard {
   public:
    // Throws what ReadWriteLock::WriteLock throws.
    explicit WriteGuard(const ObjectLevelReadWriteLockable& object) : lock_(object.lock_) {
      lock_.WriteLock();
    }
    ~WriteGuard() { lock_.WriteUnlock(); }
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;

   private:
    ReadWriteLock& lock_;
  };

  ObjectLevelReadWriteLockable() = default;
  virtual ~ObjectLevelReadWriteLockable() = default;
  ObjectLevelReadWriteLockable(const ObjectLevelReadWriteLockable&) = delete;
  ObjectLevelReadWriteLockable& operator=(const ObjectLevelReadWriteLockable&) = delete;

 private:
  mutable ReadWriteLock lock_;
};

}  // namespace dp

#endif
