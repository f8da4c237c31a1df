#include <QMutex>
#include <QReadWriteLock>
#include <QSemaphore>
#include <QThread>

#include "bench/locks/rows.h"

namespace bench {
namespace {

struct Recursive : QRecursiveMutex {
  void Lock() { lock(); }
  void Unlock() { unlock(); }
};

// Reentrant for readers and for writers, as ours; a reader cannot become the writer.
class ReadRecursive {
 public:
  void Lock() { lock_.lockForRead(); }
  void Unlock() { lock_.unlock(); }

 private:
  QReadWriteLock lock_{QReadWriteLock::Recursive};
};

class WriteRecursive {
 public:
  void Lock() { lock_.lockForWrite(); }
  void Unlock() { lock_.unlock(); }

 private:
  QReadWriteLock lock_{QReadWriteLock::Recursive};
};

class Units {
 public:
  void Lock() { semaphore_.acquire(); }
  void Unlock() { semaphore_.release(); }

 private:
  QSemaphore semaphore_{1};
};

class Joined : public QThread {
 public:
  Joined() { start(); }
  void Join() { wait(); }

 private:
  void run() override {}
};

bool Register() {
  AddLockRows<Recursive>(kRecursive, "QRecursiveMutex");
  AddNestedRow<Recursive>(kRecursiveNested, "QRecursiveMutex");
  AddLockRows<ReadRecursive>(kRead, "QReadWriteLock, recursive");
  AddNestedRow<ReadRecursive>(kReadNested, "QReadWriteLock, recursive");
  AddLockRows<WriteRecursive>(kWrite, "QReadWriteLock, recursive");
  AddLockRows<Units>(kSemaphore, "QSemaphore");
  AddWall(kThread, "QThread", StartAndJoin<Joined>);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
