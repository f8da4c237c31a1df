#include "lmkutils/platform/read_write_lock.h"

#include <atomic>
#include <new>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/internal/holder_records.h"
#include "lmkutils/platform/semaphore.h"
#include "lmkutils/testing/threads.h"

namespace {

using dp::ReadWriteLock;

// What a thread that holds nothing may do: "free", "reading", "writing".
std::string SeenByOthers(ReadWriteLock& lock) {
  std::string seen;
  lmktest::OnOtherThread([&] {
    if (lock.TryWriteLock()) {
      lock.WriteUnlock();
      seen = "free";
    } else if (lock.TryReadLock()) {
      lock.ReadUnlock();
      seen = "reading";
    } else {
      seen = "writing";
    }
  });
  return seen;
}

// r R: read lock, unlock. w W: write lock, unlock. t T: successful, failing TryReadLock. y Y: TryWriteLock.
void Perform(ReadWriteLock& lock, std::string_view operations) {
  for (const char operation : operations) {
    switch (operation) {
      case 'r':
        lock.ReadLock();
        break;
      case 'R':
        lock.ReadUnlock();
        break;
      case 'w':
        lock.WriteLock();
        break;
      case 'W':
        lock.WriteUnlock();
        break;
      case 't':
        EXPECT_TRUE(lock.TryReadLock()) << operations;
        break;
      case 'T':
        EXPECT_FALSE(lock.TryReadLock()) << operations;
        break;
      case 'y':
        EXPECT_TRUE(lock.TryWriteLock()) << operations;
        break;
      case 'Y':
        EXPECT_FALSE(lock.TryWriteLock()) << operations;
        break;
      default:
        FAIL() << operation;
    }
  }
}

TEST(ReadWriteLock, OneThreadMayNestItsLocks) {
  const struct {
    const char* operations;
    const char* seen;
    const char* rest;  // what frees the lock again
  } cases[] = {
      {"", "free", ""},          {"r", "reading", "R"},     {"rr", "reading", "RR"},
      {"rrR", "reading", "R"},   {"rt", "reading", "RR"},   {"rY", "reading", "R"},
      {"w", "writing", "W"},     {"wwW", "writing", "W"},   {"wy", "writing", "WW"},
      {"y", "writing", "W"},     {"wr", "writing", "RW"},   {"wt", "writing", "RW"},
      {"wrR", "writing", "W"},   {"wrW", "reading", "R"},   {"wrrWR", "reading", "R"},
      {"rw", "writing", "WR"},   {"rwW", "reading", "R"},   {"rwR", "writing", "W"},
      {"rwRr", "writing", "WR"}, {"rwwW", "writing", "WR"}, {"rwWw", "writing", "WR"},
      {"rwy", "writing", "WWR"}, {"rwRW", "free", ""},      {"wrWR", "free", ""},
  };
  for (const auto& item : cases) {
    ReadWriteLock lock;
    Perform(lock, item.operations);
    EXPECT_EQ(SeenByOthers(lock), item.seen) << item.operations;
    Perform(lock, item.rest);
    EXPECT_EQ(SeenByOthers(lock), "free") << item.operations << " then " << item.rest;
  }
}

// The writer waits as soon as no further reader is admitted.
void WaitUntilAWriterWaits(ReadWriteLock& lock) {
  lmktest::OnOtherThread([&] {
    lmktest::WaitUntil([&] {
      if (!lock.TryReadLock()) return true;
      lock.ReadUnlock();
      return false;
    });
  });
}

TEST(ReadWriteLock, AWaitingWriterKeepsNewReadersOutButNotPresentOnes) {
  ReadWriteLock lock;
  Perform(lock, "r");
  std::atomic<bool> wrote{false};
  std::thread writer([&] {
    lock.WriteLock();
    wrote = true;
    lock.WriteUnlock();
  });
  WaitUntilAWriterWaits(lock);
  std::atomic<bool> sawWriter{false};
  std::thread reader([&] {
    lock.ReadLock();
    sawWriter = wrote.load();
    lock.ReadUnlock();
  });
  Perform(lock, "rtRRY");
  lmktest::GiveOthersTime();
  EXPECT_FALSE(wrote);
  Perform(lock, "R");
  writer.join();
  reader.join();
  EXPECT_TRUE(wrote);
  EXPECT_EQ(SeenByOthers(lock), "free");
}

TEST(ReadWriteLock, AnUpgradeWaitsForTheOtherReaders) {
  ReadWriteLock lock;
  Perform(lock, "r");
  std::atomic<bool> upgraded{false};
  std::thread upgrader([&] {
    Perform(lock, "rw");
    upgraded = true;
    Perform(lock, "W");
    EXPECT_EQ(SeenByOthers(lock), "reading");
    Perform(lock, "R");
  });
  WaitUntilAWriterWaits(lock);
  EXPECT_FALSE(upgraded);
  Perform(lock, "R");
  upgrader.join();
  EXPECT_EQ(SeenByOthers(lock), "free");
}

TEST(ReadWriteLock, AnUpgradeGoesPastAWriterThatWaitsForIt) {
  ReadWriteLock lock;
  Perform(lock, "r");
  std::atomic<bool> wrote{false};
  std::thread writer([&] {
    Perform(lock, "w");
    wrote = true;
    Perform(lock, "W");
  });
  WaitUntilAWriterWaits(lock);
  Perform(lock, "w");
  EXPECT_FALSE(wrote);
  Perform(lock, "W");  // waits: the writer comes first although this thread goes on reading
  EXPECT_TRUE(wrote);
  EXPECT_EQ(SeenByOthers(lock), "reading");
  Perform(lock, "R");
  writer.join();
  EXPECT_EQ(SeenByOthers(lock), "free");
}

TEST(ReadWriteLock, SeveralReadersMayUpgradeAtOnce) {
  for (int round = 0; round < 50; ++round) {
    ReadWriteLock lock;
    std::atomic<int> reading{0};
    int value = 0;
    lmktest::OnThreads(3, [&](int) {
      lock.ReadLock();
      ++reading;
      lmktest::WaitUntil([&] { return reading == 3; });
      lock.WriteLock();
      ++value;
      lock.WriteUnlock();
      EXPECT_GE(value, 1);
      lock.ReadUnlock();
    });
    EXPECT_EQ(value, 3);
    EXPECT_EQ(SeenByOthers(lock), "free");
  }
}

// A writer must come through readers that never leave a gap.
TEST(ReadWriteLock, ReadersDoNotStarveAWriter) {
  ReadWriteLock lock;
  std::atomic<bool> stop{false};
  lmktest::OnThreads(5, [&](int number) {
    if (number != 0) {
      while (!stop) {
        lock.ReadLock();
        lock.ReadUnlock();
      }
      return;
    }
    for (int i = 0; i < 200; ++i) {
      lock.WriteLock();
      lock.WriteUnlock();
    }
    stop = true;
  });
  EXPECT_EQ(SeenByOthers(lock), "free");
}

// Random nested locks on each of several threads; `value` is read and written without any other protection.
TEST(ReadWriteLock, ExcludesThreadsWhateverTheyNest) {
  constexpr int kThreads = 4;
  ReadWriteLock lock;
  std::atomic<int> writers{0};
  int value = 0;
  std::atomic<int> expected{0};
  lmktest::OnThreads(kThreads, [&](int seed) {
    std::minstd_rand random(static_cast<unsigned>(seed) + 1);
    const auto write = [&] {
      EXPECT_EQ(++writers, 1);
      ++value;
      ++expected;
      EXPECT_EQ(--writers, 0);
    };
    const auto read = [&] {
      EXPECT_EQ(writers, 0);
      return value;
    };
    for (int i = 0; i < 1000; ++i) {
      switch (random() % 6) {
        case 0:
          Perform(lock, "r"), read(), Perform(lock, "R");
          break;
        case 1:
          Perform(lock, "w"), write(), Perform(lock, "W");
          break;
        case 2:
          Perform(lock, "rw"), write(), Perform(lock, "W"), read(), Perform(lock, "R");
          break;
        case 3:
          Perform(lock, "wr"), write(), Perform(lock, "W"), read(), Perform(lock, "R");
          break;
        case 4:
          if (lock.TryWriteLock()) Perform(lock, "r"), write(), Perform(lock, "RW");
          break;
        default:
          if (lock.TryReadLock()) Perform(lock, "rYR"), read(), Perform(lock, "R");
      }
    }
  });
  EXPECT_EQ(value, expected);
  EXPECT_EQ(SeenByOthers(lock), "free");
}

TEST(ReadWriteLock, WithoutMemoryThrowsAndChangesNothing) {
  using os::fault::Arming;
  for (std::uint64_t failing = 1; failing <= 3; ++failing) {  // the record and the two gates
    const Arming noMemory(os::fault::Call::kHeapAllocate, {.first = failing});
    EXPECT_ANY_THROW(ReadWriteLock());
  }
  ReadWriteLock lock;
  dp::Semaphore arrived;
  dp::Semaphore go;
  std::thread crowd([&] {  // takes all records that need no memory
    lmktest::OnThreads(8, [&](int) {
      lock.ReadLock();
      arrived.Signal();
      go.Wait(0);
      lock.ReadUnlock();
    });
  });
  for (int i = 0; i < 8; ++i) arrived.Wait(0);
  {
    const Arming noMemory(os::fault::Call::kHeapAllocate, {.count = os::fault::kForEver});
    EXPECT_THROW(lock.ReadLock(), std::bad_alloc);
    EXPECT_THROW(lock.WriteLock(), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(lock.TryReadLock()), std::bad_alloc);
    EXPECT_FALSE(lock.TryWriteLock());
  }
  EXPECT_EQ(SeenByOthers(lock), "reading");
  Perform(lock, "rR");
  go.Signal(8);
  crowd.join();
  EXPECT_EQ(SeenByOthers(lock), "free");
}

TEST(ReadWriteLock, IgnoresUnlocksOfWhatIsNotHeld) {
#ifndef NDEBUG
  GTEST_SKIP() << "asserted in debug builds";
#endif
  ReadWriteLock lock;
  Perform(lock, "RW");
  Perform(lock, "rW");
  EXPECT_EQ(SeenByOthers(lock), "reading");
  Perform(lock, "RRwR");
  EXPECT_EQ(SeenByOthers(lock), "writing");
  Perform(lock, "W");
  EXPECT_EQ(SeenByOthers(lock), "free");
}

// More holders at once than the lock has records of its own.
TEST(ReadWriteLock, ServesManyHoldersAtOnce) {
  constexpr int kReaders = 24;
  ReadWriteLock lock;
  for (int round = 0; round < 3; ++round) {
    std::atomic<int> reading{0};
    lmktest::OnThreads(kReaders, [&](int number) {
      Perform(lock, "rr");
      ++reading;
      lmktest::WaitUntil([&] { return reading >= kReaders; });
      Perform(lock, number % 2 == 0 ? "RwWR" : "RYR");
    });
    EXPECT_EQ(SeenByOthers(lock), "free");
  }
}

// Threads come and go; records must not.
TEST(HolderRecords, OfTheListAreClaimedAgain) {
  dp::internal::HolderRecords records;
  for (std::uintptr_t thread = 1; thread <= 100; ++thread) {
    dp::internal::HolderRecord& first = records.ClaimFromList(thread);
    dp::internal::HolderRecord& second = records.ClaimFromList(thread + 1000);
    EXPECT_EQ(records.Find(0, thread), &first);
    EXPECT_EQ(records.Find(0, thread + 1000), &second);
    records.GiveUp(first);
    EXPECT_EQ(records.Find(0, thread), nullptr);
    records.GiveUp(second);
  }
  EXPECT_EQ(records.ListLength(), 2U);
}

}  // namespace
