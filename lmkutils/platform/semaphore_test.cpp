#include "lmkutils/platform/semaphore.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/wait_lock.h"
#include "lmkutils/testing/threads.h"

namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ThrowsMessage;

constexpr unsigned kMaximum = 0x7FFFFFFF;

TEST(Semaphore, CountsUnits) {
  dp::Semaphore semaphore(2);
  EXPECT_TRUE(semaphore.Poll());
  EXPECT_TRUE(semaphore.Wait(0));
  EXPECT_FALSE(semaphore.Poll());
  semaphore.Signal(0);
  EXPECT_FALSE(semaphore.Poll());
  semaphore.Signal(2);
  semaphore.Signal();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(semaphore.Wait(1));
  EXPECT_FALSE(semaphore.Poll());
}

TEST(Semaphore, WaitEndsAfterItsTimeAtTheEarliest) {
  dp::Semaphore semaphore;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(semaphore.Wait(30));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(25));
  semaphore.Signal();  // the waiter that gave up must not be counted any more
  EXPECT_TRUE(semaphore.Poll());
}

TEST(Semaphore, ZeroAndAllOnesWaitWithoutLimit) {
  for (const unsigned noLimit : {0U, 0xFFFFFFFFU}) {
    dp::Semaphore semaphore;
    std::atomic<bool> through{false};
    std::thread waiter([&] { through = semaphore.Wait(noLimit); });
    lmktest::GiveOthersTime();
    EXPECT_FALSE(through);
    semaphore.Signal();
    waiter.join();
    EXPECT_TRUE(through);
  }
}

TEST(Semaphore, PastItsMaximumThrowsAndChangesNothing) {
  EXPECT_THAT([] { dp::Semaphore(kMaximum + 1); },
              ThrowsMessage<std::runtime_error>("Cannot initialize semaphore."));
  dp::Semaphore semaphore(kMaximum - 1);
  for (const unsigned count : {2U, kMaximum, kMaximum + 1, 0xFFFFFFFFU}) {
    EXPECT_THAT([&] { semaphore.Signal(count); },
                ThrowsMessage<std::runtime_error>("Error signaling semaphore"));
  }
  semaphore.Signal();
  EXPECT_THAT([&] { semaphore.Signal(); }, ThrowsMessage<std::runtime_error>("Error signaling semaphore"));
  EXPECT_TRUE(semaphore.Poll());
  semaphore.Signal();
}

// Half of the waits have a time-out that often runs out, so that giving up meets being woken.
TEST(Semaphore, LosesNoUnit) {
  constexpr int kUnits = 1500;
  dp::Semaphore semaphore;
  std::atomic<int> taken{0};
  lmktest::OnThreads(4, [&](int number) {
    if (number < 2) {
      for (int i = 0; i < kUnits; ++i) semaphore.Signal();
      return;
    }
    for (int mine = 0; mine < kUnits;) {
      if (!semaphore.Wait(number == 2 ? 0 : 1)) continue;
      ++mine;
      ++taken;
    }
  });
  EXPECT_EQ(taken, 2 * kUnits);
  EXPECT_FALSE(semaphore.Poll());
}

TEST(Semaphore, OneSignalWakesAsManyWaitersAsItHasUnits) {
  dp::Semaphore semaphore;
  dp::Semaphore arrived;
  std::thread signaller([&] {
    lmktest::GiveOthersTime();
    semaphore.Signal(5);
  });
  lmktest::OnThreads(5, [&](int) {
    if (semaphore.Wait(0)) arrived.Signal();
  });
  signaller.join();
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(arrived.Poll());
}

TEST(Semaphore, MayBeDestroyedByTheThreadThatWasLetThrough) {
  for (int i = 0; i < 300; ++i) {
    auto semaphore = std::make_unique<dp::Semaphore>();
    std::thread signaller([&semaphore = *semaphore] { semaphore.Signal(); });
    semaphore->Wait(0);
    semaphore.reset();
    signaller.join();
  }
}

TEST(Semaphore, ReportsFailuresOfTheSystem) {
  {
    const Arming fault(Call::kHeapAllocate, {.count = 2});
    EXPECT_THAT([] { dp::Semaphore(); }, ThrowsMessage<std::runtime_error>("Cannot initialize semaphore."));
    EXPECT_THAT([] { dp::WaitLock(); }, ThrowsMessage<std::runtime_error>("Cannot initialize semaphore."));
  }
  dp::Semaphore semaphore(1);
  dp::WaitLock lock;
  const Arming fault(Call::kSemaphoreWait, {.count = 4});
  EXPECT_THAT([&] { semaphore.Wait(5); }, ThrowsMessage<std::runtime_error>("Error waiting for semaphore"));
  EXPECT_THAT([&] { static_cast<void>(semaphore.Poll()); },
              ThrowsMessage<std::runtime_error>("Error polling semaphore"));
  EXPECT_THAT([&] { lock.Lock(); }, ThrowsMessage<std::runtime_error>("Error waiting for semaphore"));
  EXPECT_THAT([&] { static_cast<void>(lock.TryLock()); },
              ThrowsMessage<std::runtime_error>("Error polling semaphore"));
}

TEST(WaitLock, AnyThreadMayUnlock) {
  dp::WaitLock lock;
  lock.Lock();
  EXPECT_FALSE(lock.TryLock());
  lmktest::OnOtherThread([&] { lock.Unlock(); });
  EXPECT_TRUE(lock.TryLock());

  std::atomic<bool> through{false};
  std::thread waiter([&] {
    lock.Lock();
    through = true;
  });
  lmktest::GiveOthersTime();
  EXPECT_FALSE(through);
  lock.Unlock();
  waiter.join();
  EXPECT_TRUE(through);
  lock.Unlock();
}

TEST(WaitLock, HasOneUnitOnly) {
  dp::WaitLock lock;
  EXPECT_THAT([&] { lock.Unlock(); }, ThrowsMessage<std::runtime_error>("Error signaling semaphore"));
  EXPECT_TRUE(lock.TryLock());
  EXPECT_FALSE(lock.TryLock());
  lock.Unlock();
}

TEST(WaitLock, CopiesShareOneKernelObject) {
  dp::WaitLock lock;
  alignas(dp::WaitLock) unsigned char storage[sizeof(dp::WaitLock)];
  auto* const copy = new (storage) dp::WaitLock(lock);  // never destroyed: only one of the two may be
  copy->Lock();
  EXPECT_FALSE(lock.TryLock());
  lock.Unlock();
  EXPECT_TRUE(copy->TryLock());
}

}  // namespace
