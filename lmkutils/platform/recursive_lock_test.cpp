#include "lmkutils/platform/recursive_lock.h"

#include <new>
#include <stdexcept>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/threads.h"

namespace {

using lmktest::OthersCanTake;
using os::fault::Arming;
using os::fault::Call;
using testing::ThrowsMessage;

void AbandonBy(dp::RecursiveLock& lock, int depth) {
  lmktest::OnOtherThread([&lock, depth] {
    for (int i = 0; i < depth; ++i) lock.Lock();
  });
}

TEST(RecursiveLock, IsReentrantAndOwned) {
  dp::RecursiveLock lock;
  lock.Lock();
  EXPECT_TRUE(lock.TryLock());
  lock.Unlock();
  EXPECT_FALSE(OthersCanTake(lock));
  lmktest::OnOtherThread([&] {
    EXPECT_THAT([&] { lock.Unlock(); }, ThrowsMessage<std::runtime_error>("Error unlocking recursivelock"));
  });
  EXPECT_FALSE(OthersCanTake(lock));
  lock.Unlock();
  EXPECT_TRUE(OthersCanTake(lock));
  EXPECT_THAT([&] { lock.Unlock(); }, ThrowsMessage<std::runtime_error>("Error unlocking recursivelock"));
}

TEST(RecursiveLock, LockTakesAnAbandonedOne) {
  dp::RecursiveLock lock;
  for (const int depth : {1, 3}) {
    AbandonBy(lock, depth);
    lock.Lock();
    EXPECT_FALSE(OthersCanTake(lock));
    lock.Unlock();
    EXPECT_TRUE(OthersCanTake(lock));
  }
}

TEST(RecursiveLock, TryLockReportsAnAbandonedOneAndLeavesItFree) {
  dp::RecursiveLock lock;
  AbandonBy(lock, 2);
  EXPECT_THAT([&] { static_cast<void>(lock.TryLock()); },
              ThrowsMessage<std::runtime_error>("Error polling recursivelock"));
  EXPECT_TRUE(OthersCanTake(lock));
  EXPECT_TRUE(lock.TryLock());
  lock.Unlock();
}

TEST(RecursiveLock, MayBeDestroyedWhileHeld) {
  lmktest::OnOtherThread([] {
    dp::RecursiveLock lock;
    lock.Lock();
    lock.Lock();
  });
}

TEST(RecursiveLock, ReportsFailuresOfTheSystem) {
  {
    const Arming fault(Call::kHeapAllocate);
    EXPECT_THAT([] { dp::RecursiveLock(); }, ThrowsMessage<std::runtime_error>("Cannot initialize mutex."));
  }
  dp::RecursiveLock lock;
  {
    const Arming fault(Call::kMutexAcquire);
    EXPECT_THAT([&] { lock.Lock(); }, ThrowsMessage<std::runtime_error>("Error waiting for recursivelock"));
  }
  const Arming fault(Call::kMutexAcquire);
  EXPECT_THAT([&] { static_cast<void>(lock.TryLock()); },
              ThrowsMessage<std::runtime_error>("Error polling recursivelock"));
}

TEST(RecursiveLock, CopiesShareOneKernelObject) {
  dp::RecursiveLock lock;
  alignas(dp::RecursiveLock) unsigned char storage[sizeof(dp::RecursiveLock)];
  auto* const copy = new (storage) dp::RecursiveLock(lock);  // never destroyed: only one of the two may be
  copy->Lock();
  EXPECT_FALSE(OthersCanTake(lock));
  lock.Unlock();
  EXPECT_TRUE(OthersCanTake(*copy));
}

}  // namespace
