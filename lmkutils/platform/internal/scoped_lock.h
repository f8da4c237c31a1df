// Holds a lock for a scope.
#ifndef LMKUTILS_PLATFORM_INTERNAL_SCOPED_LOCK_H
#define LMKUTILS_PLATFORM_INTERNAL_SCOPED_LOCK_H

namespace dp::internal {

// For anything with Lock() and Unlock(). An exception out of Unlock ends the process.
template <class L>
class [[nodiscard]] ScopedLock {
 public:
  explicit ScopedLock(L& lock) noexcept(noexcept(lock.Lock())) : lock_(lock) { lock_.Lock(); }
  ~ScopedLock() { lock_.Unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  L& lock_;
};

}  // namespace dp::internal

#endif
