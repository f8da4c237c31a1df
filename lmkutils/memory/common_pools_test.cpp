#include "lmkutils/memory/internal/common_pools.h"

#include <atomic>
#include <cstring>
#include <exception>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/memory/heap_allocator.h"
#include "lmkutils/memory/internal/size_classes.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/os/process_end.h"
#include "lmkutils/os/testing/fork.h"
#include "lmkutils/os/thread_key.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/random.h"

namespace du {
namespace {

using lmktest::Random;

using Common = CommonAllocatorImpl;

std::uint64_t HeldByCommonPool() {
  unsigned held = 0;
  internal::CommonPools::Instance().pool.GetAllocationStats(nullptr, &held);
  return held;
}

std::uint64_t Cost(unsigned size) {
  return internal::DirectMode() ? size : Common::GetRoundedSize(size);
}

TEST(CommonPools, HeldBytesAreThoseInUseWhateverTheCachesKeep) {
  const std::uint64_t before = HeldByCommonPool();
  std::vector<std::pair<void*, unsigned>> blocks;
  std::uint64_t cost = 0;
  Random random(5);
  for (int i = 0; i < 5000; ++i) {
    const unsigned size = random() % 17000;
    blocks.emplace_back(Common::Allocate(size), size);
    cost += Cost(size);
  }
  EXPECT_EQ(HeldByCommonPool(), before + cost);
  for (const auto& [block, size] : blocks) Common::Deallocate(block, size);
  EXPECT_EQ(HeldByCommonPool(), before);
  EXPECT_TRUE(internal::CommonPools::Instance().pool.IsInSaneState());
}

TEST(CommonPools, AFailFlagReachesThroughTheCaches) {
  MemPool& pool = internal::CommonPools::Instance().pool;
  Common::Deallocate(Common::Allocate(48), 48);  // one is in the cache now
  pool.SetFailOnNextRequest();
  EXPECT_THROW(static_cast<void>(Common::Allocate(48)), std::bad_alloc);
  EXPECT_THROW(static_cast<void>(Common::Allocate(480)), std::bad_alloc);
  pool.ClearFailOnNextRequest();
  Common::Deallocate(Common::Allocate(48), 48);
}

TEST(CommonPools, BlocksFreedByOtherThreadsFindTheirWayHome) {
  const std::uint64_t before = HeldByCommonPool();
  constexpr int kBlocks = 20000;
  static std::atomic<void*> ring[64];
  std::thread consumer([] {
    for (int i = 0; i < kBlocks; ++i) {
      void* block = nullptr;
      while ((block = ring[i % 64].exchange(nullptr)) == nullptr) std::this_thread::yield();
      EXPECT_EQ(static_cast<unsigned char*>(block)[71], static_cast<unsigned char>(i));
      Common::Deallocate(block, 72);
    }
    // A thread that only frees does not hoard.
    MemPoolBlockStatistics statistics;
    Common::GetBlockStatistics(statistics, 0);
    for (const MemPoolClassStatistics& one : statistics.classes) {
      if (one.elementSize == 72) {
        EXPECT_LE(one.elementsCached, 200U);
      }
    }
  });
  for (int i = 0; i < kBlocks; ++i) {
    void* block = Common::Allocate(72);
    std::memset(block, i & 0xFF, 72);
    void* empty = nullptr;
    while (!ring[i % 64].compare_exchange_strong(empty, block)) {
      empty = nullptr;
      std::this_thread::yield();
    }
  }
  consumer.join();
  EXPECT_EQ(HeldByCommonPool(), before);
  EXPECT_TRUE(internal::CommonPools::Instance().pool.IsInSaneState());
}

TEST(CommonPools, CachesOfEndedThreadsAreEmptied) {
  if (internal::DirectMode()) GTEST_SKIP() << "without pooling there are no caches";
  for (int i = 0; i < 50; ++i) {
    std::thread([] {
      std::vector<void*> blocks;
      for (int k = 0; k < 100; ++k) blocks.push_back(Common::Allocate(520));
      for (void* block : blocks) Common::Deallocate(block, 520);
    }).join();
  }
  Common::PurgeEmptyBlocks();
  MemPoolBlockStatistics statistics;
  Common::GetBlockStatistics(statistics, 0);
  for (const MemPoolClassStatistics& one : statistics.classes)
    EXPECT_EQ(one.elementsCached, 0U) << one.label.data();
}

TEST(CommonPools, PurgingGivesMemoryBackToTheSystem) {
  if (internal::DirectMode()) GTEST_SKIP() << "without pooling there is nothing to purge";
  std::vector<std::pair<void*, unsigned>> blocks;
  Random random(9);
  for (int i = 0; i < 20000; ++i) {
    const unsigned size = random() % 4000;
    blocks.emplace_back(Common::Allocate(size), size);
  }
  const auto mapped = [] {
    unsigned blockBytes = 0, extraBytes = 0;
    internal::CommonPools::Instance().blocks.GetAllocationStats(nullptr, &blockBytes);
    internal::CommonPools::Instance().extra.GetAllocationStats(nullptr, &extraBytes);
    return blockBytes + extraBytes;
  };
  EXPECT_GE(mapped(), 30U << 20);
  std::shuffle(blocks.begin(), blocks.end(), random);
  for (const auto& [block, size] : blocks) Common::Deallocate(block, size);
  Common::PurgeEmptyBlocks();
  EXPECT_LE(mapped(), 2U << 20);
}

// What a process prints is what happened; a fault ends it before.
#ifndef NDEBUG
int FreeWrongly(const std::vector<std::string>& arguments) {
  const auto size = [&arguments](std::size_t i) {
    return static_cast<unsigned>(std::stoul(arguments.at(i)));
  };
  char* const block = static_cast<char*>(Common::Allocate(size(0)));
  void* const neighbour = Common::Allocate(size(0));  // what the block lies in stays mapped
  if (arguments.size() > 3) Common::Deallocate(block, size(3));
  Common::Deallocate(block + size(1), size(2));
  Common::Deallocate(neighbour, size(0));
  return 0;
}
const lmktest::ChildRole kFreeWrongly("free_wrongly", FreeWrongly);

TEST(CommonPoolsDebug, WrongFreesAreReportedAndEndTheProcess) {
  if (internal::DirectMode()) GTEST_SKIP() << "the run-time heap checks nothing";
  // What is requested, where in it and with which size it is freed, and before that with which size.
  struct Case {
    std::vector<std::string> arguments;
    const char* report;
  };
  const Case cases[] = {
      {{"100", "0", "100", "100"}, "(   97 to   104)\" is freed twice"},
      {{"100", "0", "1000"}, "(   97 to   104)\" is freed with another size"},
      {{"100", "0", "20000"}, "(   97 to   104)\" is freed with another size"},
      {{"100", "8", "100"}, "(   97 to   104)\" is freed, but is not one of its blocks"},
      {{"20000", "0", "100"}, "\"Common Mem Pool\" is freed, but is not one of its blocks"},
      {{"20000", "0", "30000"}, "\"Common Mem Pool\" is freed with another size"},
      {{"20000", "0", "20000", "20000"}, "\"Common Mem Pool\" is freed twice"},
  };
  for (const Case& one : cases) {
    const auto result = lmktest::RunSelf("free_wrongly", one.arguments);
    EXPECT_NE(result.exitCode, 0) << one.report;
    EXPECT_NE(result.err.find(one.report), std::string::npos) << one.report << "\n" << result.err;
  }
}
#endif

// A static object that frees after the allocator's end, and one that allocates.
struct Late {
  void* block = Common::Allocate(64);
  ~Late() { Common::Deallocate(block, 64); }
};
int FreeLate(const std::vector<std::string>&) {
  static const Late late;
  std::thread([] { Common::Deallocate(Common::Allocate(64), 64); }).join();
  return 0;
}
const lmktest::ChildRole kFreeLate("free_late", FreeLate);

// Keys made before and after the allocator's own, whose callbacks allocate and free whenever the system calls
// them, and ask for one more call.
int callbackKeys[2];
template <int Number>
void AllocateInCallback(void* value) noexcept {
  static char calls[8];
  Common::Deallocate(Common::Allocate(64), 64);
  char* const next = value == &callbackKeys ? calls : static_cast<char*>(value) + 1;
  if (next != std::end(calls)) os::ThreadExitKeySet(callbackKeys[Number], next);
}

int FreeInAnotherKeysCallback(const std::vector<std::string>&) {
  if (internal::DirectMode()) return 0;  // no caches, and not every memory checker is there in the last calls
  callbackKeys[0] = os::ThreadExitKeyCreate(AllocateInCallback<0>);
  Common::Deallocate(Common::Allocate(64), 64);
  callbackKeys[1] = os::ThreadExitKeyCreate(AllocateInCallback<1>);
  std::thread([] {
    for (const int key : callbackKeys) os::ThreadExitKeySet(key, &callbackKeys);
    Common::Deallocate(Common::Allocate(64), 64);
  }).join();
  Common::PurgeEmptyBlocks();  // this thread's cache
  MemPoolBlockStatistics statistics;
  Common::GetBlockStatistics(statistics, 0);
  // No cache of the ended thread is left, neither its own nor one that a callback made.
  for (const MemPoolClassStatistics& one : statistics.classes) {
    if (one.elementsCached != 0) return 1;
  }
  return 0;
}
const lmktest::ChildRole kFreeInCallback("free_in_callback", FreeInAnotherKeysCallback);

// Ends while another thread makes and drops controls, which never comes to the end.
int EndAmongControls(const std::vector<std::string>&) {
  static std::atomic<int> made{0};
  std::thread([] {
    try {
      for (;; ++made) {
        HeapAllocator supplier("supplier", 0), consumer("consumer", 0);
        MallocCtrlRegistry::Instance().RegisterRelationship(&supplier, &consumer);
      }
    } catch (const std::exception&) {  // the registry is gone
    }
  }).detach();
  while (made < 100) std::this_thread::yield();
  return 0;
}
const lmktest::ChildRole kEndAmongControls("end_among_controls", EndAmongControls);

TEST(CommonPools, TheProcessEndsWhileAnotherThreadMakesControls) {
  if (!os::ProcessIsEnding())
    GTEST_SKIP() << "on this target other threads end before the library's exit calls";
  for (int i = 0; i < 10; ++i) {
    const auto result = lmktest::RunSelf("end_among_controls");
    ASSERT_EQ(result.exitCode, 0) << (result.timedOut ? "hangs" : result.err);
  }
}

TEST(CommonPools, LateFreesAreHarmlessInEveryMode) {
  const lmktest::Environment modes[] = {
      {}, {{"LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT", "1"}}, {{"LUMORA_MEM_MAXSPEED_MAXFOOTPRINT", "1"}}};
  for (const auto& mode : modes) {
    for (const char* role : {"free_late", "free_in_callback"}) {
      const auto result = lmktest::RunSelf(role, {}, mode);
      EXPECT_EQ(result.exitCode, 0) << role << result.err;
      EXPECT_EQ(result.err, "") << role;
    }
  }
}

int AllocateInChild() {
  std::vector<std::pair<void*, unsigned>> blocks;
  for (unsigned i = 0; i < 2000; ++i) {
    const unsigned size = i * 37 % 20000;
    blocks.emplace_back(Common::Allocate(size), size);
  }
  for (const auto& [block, size] : blocks) Common::Deallocate(block, size);
  Common::PurgeEmptyBlocks();
  const HeapAllocator control("made in the child", 0);
  return internal::CommonPools::Instance().pool.IsInSaneState() ? 0 : 1;
}

// Forks while other threads allocate, make and drop controls and ask the registry.
const lmktest::ChildRole kForkRole("pool_fork", [](const std::vector<std::string>&) {
  Common::Deallocate(Common::Allocate(8), 8);  // forks are safe from the first use on
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&stop] {
    while (!stop) {
      for (unsigned size = 1; size < 30000; size += 1000) Common::Deallocate(Common::Allocate(size), size);
      Common::PurgeEmptyBlocks();
    }
  });
  threads.emplace_back([&stop] {
    while (!stop) {
      const HeapAllocator control("comes and goes", 0);
      MallocCtrlRegistry::Instance().GetNumConsumers(0);
    }
  });
  int failed = 0;
  for (int i = 0; i < 100; ++i) failed += os::testing::RunForked(AllocateInChild) != 0;
  stop = true;
  for (std::thread& thread : threads) thread.join();
  return failed;
});

TEST(CommonPools, AreUsableInForkedProcesses) {
  if (os::testing::RunForked([] { return 0; }) == os::testing::kForkUnknown)
    GTEST_SKIP() << "processes do not fork on this target";
  const lmktest::ChildResult result = lmktest::RunSelf("pool_fork");
  EXPECT_EQ(result.exitCode, 0) << (result.timedOut ? "hangs" : result.err);
}

}  // namespace
}  // namespace du
