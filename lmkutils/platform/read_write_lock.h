// dp::ReadWriteLock: many readers or one writer.
#ifndef LMKUTILS_PLATFORM_READ_WRITE_LOCK_H
#define LMKUTILS_PLATFORM_READ_WRITE_LOCK_H

#include "lmkutils/export.h"

namespace dp {

// Many threads may read, or one may write. Writers are preferred: while one waits, no further thread is
// admitted for reading, and the lock is handed from writer to writer before the readers get it. Reentrant
// for each thread, for reading and for writing; a thread unlocks what it locked itself. Any number of
// threads.
//
//   the calling thread     ReadLock          WriteLock                       TryReadLock   TryWriteLock
//   holds nothing          may wait          may wait                        may be false  may be false
//   reads                  at once           waits for the others (upgrade)  true          false, always
//   writes (reads or not)  at once           at once                         true          true
//
// The upgrade is not atomic: WriteLock gives the caller's place among the readers up, so another writer may
// run before it returns. Check again what you read. Two threads may upgrade at once: one after the other is
// admitted.
//
// A writer that also reads goes on reading after WriteUnlock. When another writer waits then, it is let in
// first: WriteUnlock waits, and the data may have changed when it returns. Under a stream of writers that
// wait has no bound.
class LMK_API ReadWriteLock {
 public:
  // Throws std::runtime_error "Cannot initialize semaphore." and std::bad_alloc.
  ReadWriteLock();

  // Nobody may hold the lock or wait for it.
  ~ReadWriteLock();

  ReadWriteLock(const ReadWriteLock&) = delete;
  ReadWriteLock& operator=(const ReadWriteLock&) = delete;

  // Throws std::bad_alloc, having changed nothing, when this thread cannot be noted.
  void ReadLock();

  // As ReadLock; false instead of waiting.
  [[nodiscard]] bool TryReadLock();

  // The caller must hold the lock for reading; otherwise nothing happens (an assertion in debug builds).
  void ReadUnlock();

  // Throws std::bad_alloc, having changed nothing, when this thread cannot be noted.
  void WriteLock();

  // As WriteLock, but false instead of waiting, and false for a thread that only reads, even the only one.
  [[nodiscard]] bool TryWriteLock();

  // The caller must hold the lock for writing; otherwise nothing happens (an assertion in debug builds). May
  // wait when the caller also reads, see above.
  void WriteUnlock();

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace dp

#endif
