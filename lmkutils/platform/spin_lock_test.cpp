#include "lmkutils/platform/spin_lock.h"

#include <array>
#include <memory>
#include <new>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/class_level_lockable.h"
#include "lmkutils/platform/internal/lazy_spin_lock.h"
#include "lmkutils/platform/internal/scoped_lock.h"
#include "lmkutils/platform/object_level_lockable.h"
#include "lmkutils/platform/object_level_read_write_lockable.h"
#include "lmkutils/testing/threads.h"

namespace {

using lmktest::OthersCanTake;

TEST(SpinLock, IsReentrantAndFreeAfterAsManyUnlocks) {
  for (const int spinCount : {-1, 0, 1, 500}) {
    dp::SpinLock lock(spinCount);
    lock.Lock();
    lock.Lock();
    EXPECT_TRUE(lock.TryLock());
    lock.Unlock();
    lock.Unlock();
    EXPECT_FALSE(OthersCanTake(lock));
    lock.Unlock();
    EXPECT_TRUE(OthersCanTake(lock));
    EXPECT_TRUE(lock.TryLock());
    EXPECT_FALSE(OthersCanTake(lock));
    lock.Unlock();
  }
}

// Whatever the spin count: with 0 every contended lock sleeps, so lost wake-ups hang here.
TEST(SpinLock, ExcludesThreads) {
  for (const int spinCount : {0, 500}) {
    dp::SpinLock lock(spinCount);
    int counter = 0;
    lmktest::OnThreads(4, [&](int) {
      for (int i = 0; i < 20000; ++i) {
        const dp::internal::ScopedLock guard(lock);
        const dp::internal::ScopedLock again(lock);
        ++counter;
      }
    });
    EXPECT_EQ(counter, 80000);
  }
}

// A waiter that gets the lock may destroy it while the thread that released it is still leaving.
TEST(SpinLock, MayBeDestroyedByTheNextOwner) {
  for (int i = 0; i < 300; ++i) {
    auto lock = std::make_unique<dp::SpinLock>(0);
    lock->Lock();
    std::thread next([&] {
      lock->Lock();
      lock->Unlock();
      lock.reset();
    });
    if (i % 2 == 0) std::this_thread::yield();
    lock->Unlock();
    next.join();
  }
}

TEST(LazySpinLock, IsCreatedOnceByManyThreads) {
  static constinit dp::internal::LazySpinLock lazy;
  std::array<dp::SpinLock*, 8> seen{};
  lmktest::OnThreads(8, [&](int number) { seen[static_cast<std::size_t>(number)] = &lazy.Get(); });
  EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 1U);
}

// Two allocations: the lock and the system's part of it.
TEST(LazySpinLock, WithoutMemoryThrowsAndTriesAgain) {
  static constinit dp::internal::LazySpinLock lazy;
  static bool done = false;
  if (std::exchange(done, true)) GTEST_SKIP() << "once a process";
  for (const std::uint64_t failing : {1U, 2U}) {
    const os::fault::Arming noMemory(os::fault::Call::kHeapAllocate, {.first = failing});
    EXPECT_THROW(lazy.Lock(), std::bad_alloc);
  }
  lazy.Lock();
  EXPECT_FALSE(OthersCanTake(lazy.Get()));
  lazy.Unlock();
}

struct Account : dp::ObjectLevelLockable<Account*> {
  int balance = 0;
};

struct Ledger : dp::ObjectLevelReadWriteLockable<Ledger*> {
  int entries = 0;
};

struct Registry : dp::ClassLevelLockable<Registry*> {
  static inline int count = 0;
};
struct OtherRegistry : dp::ClassLevelLockable<OtherRegistry*> {};

TEST(Lockables, GuardTheirObjectOrClass) {
  Account account;
  Ledger ledger;
  Registry::count = 0;
  int sum = 0;
  lmktest::OnThreads(4, [&](int) {
    for (int i = 0; i < 2000; ++i) {
      {
        const Account::Guard guard(account);
        ++account.balance;
      }
      {
        const Ledger::WriteGuard guard(ledger);
        ++ledger.entries;
      }
      const Registry::Guard guard;
      const Ledger::ReadGuard reading(ledger);
      sum += ledger.entries > 0 ? 1 : 0;
      ++Registry::count;
    }
  });
  EXPECT_EQ(account.balance, 8000);
  EXPECT_EQ(ledger.entries, 8000);
  EXPECT_EQ(Registry::count, 8000);
  EXPECT_EQ(sum, 8000);
}

TEST(Lockables, ClassesDoNotShareALock) {
  const Registry::Guard guard;
  lmktest::OnOtherThread([] {
    EXPECT_FALSE(Registry::TryGuard().IsLocked());
    EXPECT_TRUE(OtherRegistry::TryGuard().IsLocked());
  });
}

}  // namespace
