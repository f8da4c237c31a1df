#include "bench/locks/rows.h"

#include "lmkutils/platform/read_write_lock.h"
#include "lmkutils/platform/recursive_lock.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/platform/spin_lock.h"
#include "lmkutils/platform/thread.h"
#include "lmkutils/platform/thread_local_storage.h"
#include "lmkutils/platform/wait_lock.h"

namespace bench {
namespace {

struct Read : dp::ReadWriteLock {
  void Lock() { ReadLock(); }
  void Unlock() { ReadUnlock(); }
};

struct Write : dp::ReadWriteLock {
  void Lock() { WriteLock(); }
  void Unlock() { WriteUnlock(); }
};

class Units {
 public:
  void Lock() { semaphore_.Wait(0); }
  void Unlock() { semaphore_.Signal(); }

 private:
  dp::Semaphore semaphore_{1};
};

class Joined : public dp::Thread {
 public:
  Joined() { Start(false); }
  ~Joined() override { Join(); }
  void Join() { WaitForThreadToTerminate(); }

 private:
  void Run() override {}
};

class Value {
 public:
  static void Prepare() {
    static int number = 0;
    if (key_ == -1) key_ = dp::ThreadLocalStorage::AllocKey();
    dp::ThreadLocalStorage::SetValue(key_, &number);
  }
  static void* Get() { return dp::ThreadLocalStorage::GetValue(key_); }

 private:
  inline static int key_ = -1;
};

bool Register() {
  AddLockRows<dp::SpinLock>(kSpin, kOurs);
  AddLockRows<dp::RecursiveLock>(kRecursive, kOurs);
  AddNestedRow<dp::RecursiveLock>(kRecursiveNested, kOurs);
  AddLockRows<dp::WaitLock>(kWaitLock, kOurs);
  AddLockRows<Read>(kRead, kOurs);
  AddNestedRow<Read>(kReadNested, kOurs);
  AddLockRows<Write>(kWrite, kOurs);
  AddLockRows<Units>(kSemaphore, kOurs);
  AddWall(kThread, kOurs, StartAndJoin<Joined>);
  AddSingle(kValue, kOurs, GetValue<Value>);
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
