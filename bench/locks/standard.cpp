// The standard library's and the system's locks, and the floors.
#include <atomic>
#include <mutex>
#include <semaphore>
#include <shared_mutex>
#include <thread>

#include "bench/locks/rows.h"
#include <pthread.h>
#include <semaphore.h>

namespace bench {
namespace {

// A standard lock class in the words of the rows.
template <class Mutex>
struct Exclusive : Mutex {
  void Lock() { Mutex::lock(); }
  void Unlock() { Mutex::unlock(); }
};

struct SharedRead : std::shared_mutex {
  void Lock() { lock_shared(); }
  void Unlock() { unlock_shared(); }
};

class PthreadSpin {
 public:
  PthreadSpin() { pthread_spin_init(&lock_, PTHREAD_PROCESS_PRIVATE); }
  void Lock() { pthread_spin_lock(&lock_); }
  void Unlock() { pthread_spin_unlock(&lock_); }

 private:
  pthread_spinlock_t lock_;
};

class PosixSemaphore {
 public:
  PosixSemaphore() { sem_init(&semaphore_, 0, 1); }
  void Lock() { sem_wait(&semaphore_); }
  void Unlock() { sem_post(&semaphore_); }

 private:
  sem_t semaphore_;
};

class StandardSemaphore {
 public:
  void Lock() { semaphore_.acquire(); }
  void Unlock() { semaphore_.release(); }

 private:
  std::counting_semaphore<> semaphore_{1};
};

class BinarySemaphore {
 public:
  void Lock() { semaphore_.acquire(); }
  void Unlock() { semaphore_.release(); }

 private:
  std::binary_semaphore semaphore_{1};
};

// Not reentrant, and yields to nobody: for one thread only.
class ExchangeAndStore {
 public:
  void Lock() {
    while (taken_.exchange(true, std::memory_order_acquire)) {
    }
  }
  void Unlock() { taken_.store(false, std::memory_order_release); }

 private:
  std::atomic<bool> taken_{false};
};

// Reentrant by a word that names the owner; for one thread only.
class OwnerWord {
 public:
  void Lock() {
    const void* const self = &own;
    if (owner_.load(std::memory_order_relaxed) != self) {
      const void* free = nullptr;
      while (!owner_.compare_exchange_weak(free, self, std::memory_order_acquire)) free = nullptr;
    }
    ++depth_;
  }
  void Unlock() {
    if (--depth_ == 0) owner_.store(nullptr, std::memory_order_release);
  }

 private:
  inline static thread_local char own = 0;
  std::atomic<const void*> owner_{nullptr};
  int depth_ = 0;
};

class StandardThread {
 public:
  void Join() { thread_.join(); }

 private:
  std::thread thread_{[] {}};
};

class PosixThread {
 public:
  PosixThread() {
    pthread_create(
        &thread_, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
  }
  void Join() { pthread_join(thread_, nullptr); }

 private:
  pthread_t thread_;
};

class PosixValue {
 public:
  static void Prepare() {
    static int number = 0;
    static const int made = pthread_key_create(&key_, nullptr);
    benchmark::DoNotOptimize(made);
    pthread_setspecific(key_, &number);
  }
  static void* Get() { return pthread_getspecific(key_); }

 private:
  inline static pthread_key_t key_;
};

class LanguageValue {
 public:
  static void Prepare() {
    static int number = 0;
    value_ = &number;
  }
  static void* Get() { return value_; }

 private:
  inline static thread_local void* value_ = nullptr;
};

bool Register() {
  const std::string floor = kFloor;
  AddLockRows<Exclusive<std::mutex>>(kSpin, "std::mutex");
  AddLockRows<PthreadSpin>(kSpin, "pthread_spinlock_t");
  AddSingle(kSpin, floor + "exchange and store", UncontendedPair<ExchangeAndStore>);
  AddLockRows<Exclusive<std::recursive_mutex>>(kRecursive, "std::recursive_mutex");
  AddSingle(kRecursive, floor + "owner word", UncontendedPair<OwnerWord>);
  AddNestedRow<Exclusive<std::recursive_mutex>>(kRecursiveNested, "std::recursive_mutex");
  AddNestedRow<OwnerWord>(kRecursiveNested, floor + "owner word");
  AddLockRows<BinarySemaphore>(kWaitLock, "std::binary_semaphore");
  AddLockRows<PosixSemaphore>(kWaitLock, "sem_t");
  AddLockRows<SharedRead>(kRead, "std::shared_mutex");
  AddLockRows<Exclusive<std::shared_mutex>>(kWrite, "std::shared_mutex");
  AddLockRows<PosixSemaphore>(kSemaphore, "sem_t");
  AddLockRows<StandardSemaphore>(kSemaphore, "std::counting_semaphore");
  AddWall(kThread, "std::thread", StartAndJoin<StandardThread>);
  AddWall(kThread, "pthread", StartAndJoin<PosixThread>);
  AddSingle(kValue, "pthread_getspecific", GetValue<PosixValue>);
  AddSingle(kValue, floor + "thread_local", GetValue<LanguageValue>);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
