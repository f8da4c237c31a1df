#include "lmkutils/text/internal/symbol_table.h"

#include <array>
#include <deque>
#include <future>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/os/fault/fault.h"
#include "lmkutils/platform/dead_reference.h"
#include "lmkutils/testing/shortage.h"
#include "lmkutils/testing/threads.h"
#include "lmkutils/text/symbol.h"

namespace {

using du::internal::SymbolEntry;
using du::internal::SymbolTable;

// A table of its own beside the process's.
class SymbolTableTest : public testing::Test {
 protected:
  static inline constinit dp::internal::LazySpinLock lock;

  const char* Intern(const std::string& text) { return table->Intern(text.data(), text.size()); }
  // As symbols drop their references.
  void Drop(const char* entry) {
    if (SymbolEntry::Of(entry).count.fetch_sub(1, std::memory_order_acq_rel) == 1) table->PutAside(entry);
  }
  unsigned Items() { return table->CollectStatistics().items; }
  void ExpectSound() { EXPECT_STREQ(nullptr, table->FindFault()); }

  std::unique_ptr<SymbolTable> table = std::make_unique<SymbolTable>(lock);
};

// The model knows which texts are in use and which wait for the next sweep.
TEST_F(SymbolTableTest, AgreesWithAModelOverRandomOperations) {
  std::mt19937 random(11);
  std::vector<const char*> handles;
  std::map<std::string, unsigned> inUse;
  std::map<std::string, const char*> place;
  std::set<std::string> pending;
  for (int step = 0; step < 60000; ++step) {
    // Longer phases of growing and of shrinking.
    const bool grow = handles.empty() || random() % 100 < (step / 5000 % 2 == 0 ? 60u : 40u);
    if (grow) {
      const auto number = static_cast<unsigned>(random() % 900);
      const std::string text = std::to_string(number) + std::string(number % 70, 'x');
      const char* const entry = Intern(text);
      handles.push_back(entry);
      ASSERT_EQ(text, entry);
      ASSERT_EQ(text.size(), SymbolEntry::Of(entry).length);
      if (inUse.count(text) != 0 || pending.count(text) != 0) {
        ASSERT_EQ(place[text], entry);
      }
      place[text] = entry;
      pending.erase(text);
      ++inUse[text];
    } else {
      std::swap(handles[random() % handles.size()], handles.back());
      const char* const entry = handles.back();
      handles.pop_back();
      const std::string text = entry;
      ASSERT_EQ(inUse[text], SymbolEntry::Of(entry).count.load());
      Drop(entry);
      if (--inUse[text] == 0) {
        inUse.erase(text);
        pending.insert(text);
        if (pending.size() == SymbolTable::kPendingLimit) pending.clear();
      }
    }
    if (step % 97 == 0) {
      ASSERT_EQ(inUse.size() + pending.size(), Items()) << step;
      ASSERT_STREQ(nullptr, table->FindFault()) << step;
    }
  }
}

TEST_F(SymbolTableTest, TheSixtyFourthDropSweepsAllButTheRevived) {
  std::vector<const char*> entries;
  for (int i = 0; i < 64; ++i) entries.push_back(Intern("text " + std::to_string(i)));
  for (int i = 0; i < 63; ++i) Drop(entries[static_cast<unsigned>(i)]);
  EXPECT_EQ(64u, Items());
  EXPECT_EQ(entries[5], Intern("text 5"));  // revived: 62 are pending
  Drop(entries[63]);
  EXPECT_EQ(64u, Items());
  const char* const last = Intern("last");
  ExpectSound();
  Drop(last);
  EXPECT_EQ(1u, Items());
  EXPECT_STREQ("text 5", entries[5]);
  ExpectSound();
}

// A thread that has brought a count to 0 comes late: before any other use, after one revival, after several,
// and while the entry is in use.
TEST_F(SymbolTableTest, WhoseDropperIsOnItsWayStaysUntilItArrives) {
  const auto sweep = [this](unsigned drops) {
    for (unsigned i = 0; i < drops; ++i) Drop(Intern("text " + std::to_string(i)));
    ExpectSound();
  };
  for (int revivals = 0; revivals < 4; ++revivals) {
    for (const bool isInUse : {false, true}) {
      const char* const entry = Intern("dropped");
      SymbolEntry::Of(entry).count.fetch_sub(1);
      for (int i = 0; i < revivals; ++i) {
        ASSERT_EQ(entry, Intern("dropped"));
        sweep(i % 2 == 0 ? 64 : 1);
        Drop(entry);
        sweep(i % 2 == 0 ? 1 : 64);
      }
      sweep(128);
      if (isInUse) {
        ASSERT_EQ(entry, Intern("dropped"));
      }
      table->PutAside(entry);
      sweep(128);
      EXPECT_EQ(isInUse ? entry : nullptr, table->Find("dropped", 7)) << revivals;
      if (!isInUse) continue;
      EXPECT_STREQ("dropped", entry);
      EXPECT_EQ(1u, SymbolEntry::Of(entry).count.load());
      Drop(entry);
      sweep(128);
      EXPECT_EQ(nullptr, table->Find("dropped", 7)) << revivals;
    }
  }
}

TEST_F(SymbolTableTest, GrowsByThePrimesAndRecyclesIds) {
  std::vector<const char*> entries;
  for (unsigned i = 0; i < 3079; ++i) entries.push_back(Intern("text " + std::to_string(i)));
  EXPECT_EQ(3079u, table->CollectStatistics().buckets);
  entries.push_back(Intern("one more"));
  EXPECT_EQ(6151u, table->CollectStatistics().buckets);
  for (unsigned i = 0; i < 3079; ++i) EXPECT_EQ(entries[i], Intern("text " + std::to_string(i)));
  ExpectSound();
  for (int round = 0; round < 2; ++round) {
    for (unsigned i = 0; i < 3079; ++i) Drop(entries[i]);
  }
  for (unsigned i = 0; i < 6000; ++i) Intern("second " + std::to_string(i));
  ExpectSound();
}

// Fails each allocation in turn, of the table itself and of a text that makes it grow.
TEST_F(SymbolTableTest, ExhaustedMemoryChangesNothing) {
  std::uint64_t failures = 0;
  const auto failEach = [&failures](lmktest::Memory memory, auto attempt) {
    for (std::uint64_t n = 1;; ++n) {
      const lmktest::Shortage noMemory(memory, n, 1);
      try {
        return attempt();
      } catch (const std::bad_alloc&) {
        ++failures;
      }
    }
  };
  failEach(lmktest::Memory::kHeap, [this] { table = std::make_unique<SymbolTable>(lock); });
  EXPECT_EQ(1u, failures);  // its index; the table itself is over-aligned and comes from elsewhere
  for (unsigned i = 0; i < 3079; ++i) Intern("text " + std::to_string(i));
  failures = 0;
  const std::string grown("the one that makes it grow");
  const char* entry = nullptr;
  for (const lmktest::Memory memory : lmktest::kAllMemory) {
    entry = failEach(memory, [&, this] { return Intern(grown); });
  }
  EXPECT_EQ(1u, failures);  // the entry
  EXPECT_EQ(grown, entry);
  EXPECT_EQ(3080u, Items());
  ExpectSound();
}

TEST_F(SymbolTableTest, ClosedTableRefusesNewTextsAndIgnoresDrops) {
  const char* const text = Intern("in use at the end");
  table->Close();
  EXPECT_THROW(Intern("new"), dp::DeadReference);
  EXPECT_THROW(Intern("in use at the end"), dp::DeadReference);
  EXPECT_THROW(table->CollectStatistics(), dp::DeadReference);
  table->PutAside(text);
  EXPECT_STREQ(nullptr, table->FindFault());
}

TEST_F(SymbolTableTest, ClosingLeavesTheStorageWhenTheLockIsNotToBeHad) {
  const char* const text = Intern("still there");
  lock.Lock();
  lmktest::OnOtherThread([this] { table->Close(); });
  lock.Unlock();
  EXPECT_STREQ("still there", text);
}

TEST_F(SymbolTableTest, AbandonedTableKeepsWhatLateThreadsMayTouch) {
  const char* const text = Intern("still read");
  table->Abandon();
  EXPECT_THROW(Intern("still read"), dp::DeadReference);
  EXPECT_EQ(nullptr, table->Find("new", 3));
  for (int i = 0; i < 100; ++i) {
    SymbolEntry::Of(text).count.fetch_add(1);
    Drop(text);
  }
  Drop(text);
  EXPECT_STREQ("still read", text);
}

// Another thread holds the lock for ever.
TEST_F(SymbolTableTest, NothingWaitsForKilledThreads) {
  // So many that some do not stand where a look-up begins.
  std::vector<const char*> many;
  for (unsigned i = 0; i < 3000; ++i) many.push_back(Intern("text " + std::to_string(i)));
  const char* const text = Intern("in use");
  std::promise<void> locked, done;
  std::thread holder([&] {
    lock.Lock();
    locked.set_value();
    done.get_future().wait();
    lock.Unlock();
  });
  locked.get_future().wait();
  {
    const os::fault::Arming killed(os::fault::Call::kOtherThreadsKilled, {.count = os::fault::kForEver});
    EXPECT_EQ(text, Intern("in use"));  // without the lock
    for (unsigned i = 0; i < many.size(); ++i) EXPECT_EQ(many[i], Intern("text " + std::to_string(i)));
    EXPECT_THROW(Intern("new"), dp::DeadReference);
    EXPECT_THROW(table->CollectStatistics(), dp::DeadReference);
    EXPECT_EQ(nullptr, table->Find("new", 3));
    Drop(text);
    Drop(text);  // the last one
  }
  done.set_value();
  holder.join();
  EXPECT_EQ(text, Intern("in use"));
  ExpectSound();
  table->ForgetOtherThreads();
}

TEST(LookupGuards, AreNotAwaitedFromThreadsThatAreNoMore) {
  du::internal::LookupGuards guards;
  const du::internal::LookupGuards::Scope inside(guards);
  ASSERT_TRUE(inside.Entered());
  EXPECT_FALSE(guards.Await(2));
  {
    const os::fault::Arming killed(os::fault::Call::kOtherThreadsKilled, {.count = os::fault::kForEver});
    EXPECT_FALSE(guards.Await());
  }
  guards.ForgetAll();
  EXPECT_TRUE(guards.Await());
}

// One look-up in each: the last has no place left.
TEST(LookupGuards, AreEnteredElsewhereWhenTheOwnIsBusy) {
  using du::internal::LookupGuards;
  LookupGuards guards;
  const LookupGuards::Scope own(guards, LookupGuards::Places::kOwn);
  ASSERT_TRUE(own.Entered());
  EXPECT_FALSE(LookupGuards::Scope(guards, LookupGuards::Places::kOwn).Entered());
  std::deque<LookupGuards::Scope> others;
  while (others.size() < 100 && others.emplace_back(guards).Entered()) {
  }
  EXPECT_EQ(32u, others.size());
  EXPECT_FALSE(others.back().Entered());
  others.clear();
  EXPECT_FALSE(guards.Await(1));  // ours
  EXPECT_TRUE(LookupGuards::Scope(guards).Entered());
}

TEST_F(SymbolTableTest, KnowsItsName) {
  EXPECT_TRUE(table->GetDebugClassName() == "SymbolTable");
}

// Few texts and many drops to 0: revivals, late droppers and sweeps meet each other all the time; the texts
// of a second kind make the index grow meanwhile.
TEST_F(SymbolTableTest, ThreadsMayMeetAnywhere) {
  constexpr unsigned kThreads = 4;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t] {
      std::mt19937 random(t);
      std::vector<const char*> mine;
      for (unsigned i = 0; i < 20000; ++i) {
        const bool isShared = random() % 8 != 0;
        const std::string text = isShared ? "s" + std::to_string(random() % 90)
                                          : "thread " + std::to_string(t) + " " + std::to_string(i);
        const char* const entry = Intern(text);
        ASSERT_EQ(text, entry);
        if (isShared || i % 2 == 0) {
          Drop(entry);
        } else {
          mine.push_back(entry);
        }
      }
      for (const char* entry : mine) Drop(entry);
    });
  }
  for (std::thread& thread : threads) thread.join();
  ExpectSound();
  EXPECT_LT(Items(), SymbolTable::kPendingLimit);
}

// Both have seen without the lock that the text is new, and wait for the lock with an entry.
TEST_F(SymbolTableTest, ThreadsThatMakeTheSameTextShareOneEntry) {
  std::array<const char*, 2> entries{};
  lock.Lock();
  std::thread first([&] { entries[0] = Intern("new"); });
  std::thread second([&] { entries[1] = Intern("new"); });
  lmktest::GiveOthersTime();
  lock.Unlock();
  first.join();
  second.join();
  EXPECT_EQ(entries[0], entries[1]);
  EXPECT_EQ(2u, SymbolEntry::Of(entries[0]).count.load());
  EXPECT_EQ(1u, Items());
}

// The same through symbols, whose copies and drops do not come to the table while the count stays above 0.
TEST(SymbolThreads, SharedSymbolsAreCopiedAndDroppedByAll) {
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      std::mt19937 random(t);
      std::array<du::Symbol, 16> mine;
      for (int i = 0; i < 30000; ++i) {
        du::Symbol& target = mine[random() % mine.size()];
        switch (random() % 4) {
          case 0:
            target = "common " + std::to_string(random() % 40);
            break;
          case 1:
            target = mine[random() % mine.size()];
            break;
          case 2:
            target.clear();
            break;
          default:
            if (!target.empty()) {
              ASSERT_EQ(0u, target.find("common ", 0));
            }
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
