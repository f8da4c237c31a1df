#include "lmkutils/memory/mem_pool.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/memory/block_alloc.h"
#include "lmkutils/memory/heap_allocator.h"
#include "lmkutils/memory/internal/element_store.h"
#include "lmkutils/memory/internal/size_classes.h"
#include "lmkutils/memory/malloc_ctrl_registry.h"
#include "lmkutils/memory/small_block_alloc.h"
#include "lmkutils/memory/system_allocator.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/testing/random.h"

namespace du {
namespace {

using lmktest::Random;

using Pages = SystemAllocator<LockedSystemAllocatorPolicy,
                              DefaultPageRequestPolicy<0x100000, 0x1000000, 32, 0x2000, MemoryMap>>;

unsigned Held(const MallocCtrl& control) {
  unsigned held = 0;
  control.GetAllocationStats(nullptr, &held);
  return held;
}

unsigned Allocated(const MallocCtrl& control) {
  unsigned allocated = 0;
  control.GetAllocationStats(&allocated, nullptr);
  return allocated;
}

bool Pooling() {
  return !internal::DirectMode();
}

struct Block {
  unsigned char* address;
  unsigned size;
  unsigned char mark;

  void Fill() const { std::memset(address, mark, size); }
  bool IsIntact() const {
    for (unsigned i = 0; i < size; ++i) {
      if (address[i] != mark) return false;
    }
    return true;
  }
};

unsigned RandomSize(Random& random) {
  switch (random() % 8) {
    case 0:
      return random() % 20000;
    case 1:
      return 16384 + random() % 3;
    case 2:
      return 0;
    default:
      return random() % 600;
  }
}

TEST(MemPool, RandomOperationsAgainstAModel) {
  Pages pages("pages");
  MemPool pool("pool", &pages);
  std::vector<Block> live;
  Random random(11);
  std::uint64_t held = 0;
  const auto cost = [](unsigned size) { return Pooling() ? MemPool::GetRoundedSize(size) : size; };
  for (int step = 0; step < 20000; ++step) {
    if (live.empty() || random() % 100 < 52) {
      const unsigned size = RandomSize(random);
      auto* address = static_cast<unsigned char*>(pool.Allocate(size, nullptr));
      ASSERT_NE(address, nullptr);
      const std::uintptr_t alignment = size != 0 && size % 16 == 0 ? 16 : 8;
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(address) % alignment, 0U) << size;
      live.push_back({address, size, static_cast<unsigned char>(random())});
      live.back().Fill();
      held += cost(size);
    } else {
      std::swap(live[random() % live.size()], live.back());
      ASSERT_TRUE(live.back().IsIntact());
      pool.Free(live.back().address, live.back().size);
      held -= cost(live.back().size);
      live.pop_back();
    }
    if (step % 500 == 0) {
      ASSERT_TRUE(pool.IsInSaneState());
      ASSERT_TRUE(pages.IsInSaneState());
    }
    ASSERT_EQ(Held(pool), held);
  }
  EXPECT_EQ(Allocated(pool), 0U);
  for (const Block& block : live) pool.Free(block.address, block.size);
  EXPECT_EQ(Held(pool), 0U);
  pool.PurgeEmptyBlocks();
  if (Pooling()) {
    EXPECT_LE(Allocated(pages), 0x2000U);  // what is left is the pool's own record
  }
}

TEST(MemPool, StatisticsTellUsedFreeAndLarge) {
  if (!Pooling()) GTEST_SKIP() << "without pooling there are no classes";
  Pages pages("pages");
  MemPool pool("P", &pages, nullptr, false);
  void* small[3];
  for (void*& block : small) block = pool.Allocate(260, nullptr);
  void* large = pool.Allocate(20000, nullptr);
  pool.Free(small[2], 260);
  MemPoolBlockStatistics statistics;
  pool.GetBlockStatistics(statistics, 0.5F);
  ASSERT_EQ(statistics.classes.size(), 1U);
  const MemPoolClassStatistics& one = statistics.classes[0];
  EXPECT_STREQ(one.label.data(), "P (  257 to   272)");
  EXPECT_EQ(one.elementSize, 272U);
  EXPECT_EQ(one.elementsInUse, 2U);
  EXPECT_EQ(one.elementsCached, 0U);
  EXPECT_EQ(one.blocks, 1U);
  EXPECT_EQ(one.sparseBlocks, 1U);
  EXPECT_EQ((one.elementsInUse + one.elementsFree) * 272 <= one.bytesHeld, true);
  EXPECT_EQ(statistics.largeBlocks, 1U);
  EXPECT_EQ(statistics.largeBytes, 20000U);
  pool.Free(small[0], 260);
  pool.Free(small[1], 260);
  pool.Free(large, 20000);
  pool.GetBlockStatistics(statistics, 0.5F, true);
  EXPECT_TRUE(statistics.classes.empty());
  EXPECT_EQ(statistics.largeBlocks, 0U);
}

TEST(MemPool, StandsInTheGraphBetweenItsSuppliersAndNothing) {
  MallocCtrlRegistry& registry = MallocCtrlRegistry::Instance();
  Pages blocks("blocks"), extra("extra");
  MemPool pool("pool", &blocks, &extra, false);
  const unsigned index = registry.GetCtrlIndex(&pool);
  if (!Pooling()) {
    EXPECT_EQ(registry.GetNumSuppliers(index), 0U);
    return;
  }
  ASSERT_EQ(registry.GetNumSuppliers(index), 2U);
  EXPECT_EQ(registry.GetSupplier(index, 0), registry.GetCtrlIndex(&blocks));
  EXPECT_EQ(registry.GetSupplier(index, 1), registry.GetCtrlIndex(&extra));
  pool.Free(pool.Allocate(100, nullptr), 100);
  ASSERT_EQ(registry.GetNumSuppliers(index), 3U);
  EXPECT_STREQ(registry.GetCtrl(registry.GetSupplier(index, 2))->GetName(),
               internal::ClassLabel(internal::ProcessLadder(), "pool",
                                    internal::ClassOf(internal::ProcessLadder(), 100))
                   .c_str());
}

TEST(MemPool, FailFlagsOfPoolClassAndSupplierMakeRequestsFail) {
  Pages pages("pages");
  MemPool pool("pool", &pages);
  void* const before = pool.Allocate(64, nullptr);
  pool.SetFailOnNextRequest();
  EXPECT_EQ(pool.Allocate(64, nullptr), nullptr);
  EXPECT_EQ(pool.Allocate(64, nullptr), nullptr);
  pool.ClearFailOnNextRequest();
  if (Pooling()) {
    pages.SetFailOnNextRequest();
    EXPECT_EQ(pool.Allocate(5000, nullptr), nullptr);  // a class without blocks
    EXPECT_EQ(pool.Allocate(50000, nullptr), nullptr);
    void* const fromTheBlock = pool.Allocate(64, nullptr);  // needs no supplier
    EXPECT_NE(fromTheBlock, nullptr);
    pool.Free(fromTheBlock, 64);
    EXPECT_THROW(MemPool("another", &pages), std::bad_alloc);
    pages.ClearFailOnNextRequest();
  }
  void* const after = pool.Allocate(5000, nullptr);
  EXPECT_NE(after, nullptr);
  pool.Free(after, 5000);
  pool.Free(before, 64);
  EXPECT_TRUE(pool.IsInSaneState());
  EXPECT_EQ(Held(pool), 0U);
}

TEST(MemPool, ShortageAtAnyMomentLosesNothing) {
  if (!Pooling()) GTEST_SKIP() << "without pooling there is no bookkeeping to fail";
  for (std::uint64_t nth = 1; nth < 30; ++nth) {
    Pages pages("pages");
    MemPool pool("pool", &pages);
    std::vector<void*> blocks;
    {
      const os::fault::Arming arming(os::fault::Call::kHeapAllocate, {.first = nth});
      for (const unsigned size : {8U, 300U, 3000U, 30000U}) {
        for (int i = 0; i < 3; ++i) {
          void* const block = pool.Allocate(size, nullptr);
          if (block != nullptr) pool.Free(block, size);
        }
      }
    }
    EXPECT_TRUE(pool.IsInSaneState()) << nth;
    EXPECT_EQ(Held(pool), 0U) << nth;
    for (const unsigned size : {8U, 300U, 3000U, 30000U}) {
      void* const block = pool.Allocate(size, nullptr);
      ASSERT_NE(block, nullptr) << nth;
      pool.Free(block, size);
    }
  }
}

TEST(MemPool, AnySupplierWillDo) {
  HeapAllocator heap("heap", 0);  // knows nothing of pages and throws when it is exhausted
  {
    MemPool pool("pool", &heap);
    std::vector<Block> live;
    Random random(3);
    for (int i = 0; i < 2000; ++i) {
      const unsigned size = random() % 3000;
      live.push_back({static_cast<unsigned char*>(pool.Allocate(size, nullptr)), size,
                      static_cast<unsigned char>(random())});
      live.back().Fill();
    }
    for (const Block& block : live) {
      EXPECT_TRUE(block.IsIntact());
      pool.Free(block.address, block.size);
    }
    EXPECT_TRUE(pool.IsInSaneState());
    if (Pooling()) {
      ASSERT_NE(pool.Allocate(100000, nullptr), nullptr);  // remembered, and given back with the pool
    }
  }
  EXPECT_EQ(Held(heap), 0U);
}

TEST(MemPool, ThreadsShareItsClasses) {
  Pages pages("pages");
  MemPool pool("pool", &pages);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 3; ++t) {
    threads.emplace_back([&pool, t] {
      Random random(t);
      std::vector<Block> live;
      for (int step = 0; step < 3000; ++step) {
        if (live.size() < 50) {
          const unsigned size = random() % 2000;
          live.push_back({static_cast<unsigned char*>(pool.Allocate(size, nullptr)), size,
                          static_cast<unsigned char>(random())});
          live.back().Fill();
        } else {
          std::swap(live[random() % live.size()], live.back());
          EXPECT_TRUE(live.back().IsIntact());
          pool.Free(live.back().address, live.back().size);
          live.pop_back();
        }
      }
      for (const Block& block : live) pool.Free(block.address, block.size);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Held(pool), 0U);
  EXPECT_TRUE(pool.IsInSaneState());
}

TEST(MemPool, RoundedSizes) {
  if (internal::ProcessLadder() == internal::Ladder::kNormal) {
    EXPECT_EQ(MemPool::GetRoundedSize(257), 272U);
  }
  EXPECT_EQ(MemPool::GetRoundedSize(0), 8U);
  EXPECT_EQ(MemPool::GetRoundedSize(1), 8U);
  EXPECT_EQ(MemPool::GetRoundedSize(9), 16U);
  EXPECT_EQ(MemPool::GetRoundedSize(16384), 16384U);
  EXPECT_EQ(MemPool::GetRoundedSize(16385), 16385U);
  EXPECT_EQ(MemPool::GetRoundedSize(0xFFFFFFFFU), 0xFFFFFFFFU);
}

template <class T>
class ElementAllocators : public testing::Test {};
using AllocatorTypes =
    testing::Types<SmallBlockAlloc<LockedSmallBlockAllocPolicy>, BlockAlloc<LockedBlockAllocPolicy>,
                   BlockAlloc<UnlockedBlockAllocPolicy>>;
TYPED_TEST_SUITE(ElementAllocators, AllocatorTypes);

TYPED_TEST(ElementAllocators, GiveElementsAndTakeBlocksBack) {
  Pages pages("pages");
  for (const unsigned size : {8U, 24U, 1000U, 8704U, 16384U}) {
    TypeParam allocator("elements", size, 16384, &pages);
    std::vector<void*> elements;
    for (int i = 0; i < 100; ++i) elements.push_back(allocator.Allocate(nullptr));
    unsigned elementSize = 0, inUse = 0, held = 0;
    allocator.GetAllocationDetails(&elementSize, &inUse, &held);
    EXPECT_EQ(elementSize, size);
    EXPECT_EQ(inUse, 100U);
    EXPECT_GE(held, inUse);
    // At most a sixteenth of a block is wasted.
    EXPECT_GE(std::uint64_t{held} * size * 16, std::uint64_t{Held(allocator)} * 15);
    EXPECT_EQ(Allocated(allocator), 100 * size);
    for (void* element : elements) allocator.Free(element);
    EXPECT_TRUE(allocator.IsInSaneState());
    // A block of small elements waits for the next request; large ones leave their memory to other sizes.
    EXPECT_EQ(Held(allocator) != 0, size <= 1000);
    allocator.PurgeEmptyBlocks();
    EXPECT_EQ(Held(allocator), 0U);
    EXPECT_EQ(Allocated(pages), 0U);
    allocator.SetFailOnNextRequest();
    EXPECT_EQ(allocator.Allocate(nullptr), nullptr);
  }
}

TYPED_TEST(ElementAllocators, GiveFreeElementsOfABlockInTheOrderOfTheirAddresses) {
  Pages pages("pages");
  for (const unsigned size : {8U, 24U, 96U}) {
    TypeParam allocator("elements", size, 16384, &pages);
    std::vector<void*> elements;
    for (int i = 0; i < 150; ++i) elements.push_back(allocator.Allocate(nullptr));
    EXPECT_TRUE(std::ranges::is_sorted(elements));
    Random random(size);
    for (std::size_t i = elements.size(); i > 1; --i) std::swap(elements[i - 1], elements[random() % i]);
    std::vector<void*> freed(elements.begin() + 50, elements.end());
    for (void* element : freed) allocator.Free(element);
    EXPECT_TRUE(allocator.IsInSaneState());
    std::ranges::sort(freed);
    for (void* element : freed) EXPECT_EQ(allocator.Allocate(nullptr), element);
    EXPECT_TRUE(allocator.IsInSaneState());
  }
}

TYPED_TEST(ElementAllocators, SurviveTheirSupplier) {
  for (const unsigned size : {64U, 8192U}) {
    auto pages = std::make_unique<Pages>("pages");
    TypeParam allocator("elements", size, 131072, pages.get());
    EXPECT_NE(allocator.Allocate(nullptr), nullptr);
    allocator.Free(allocator.Allocate(nullptr));
    allocator.GiveMany(allocator.TakeMany(internal::BatchSize(size)));  // waits to be taken again
    pages.reset();
  }
}

TYPED_TEST(ElementAllocators, LeaveAloneWhatTheirDeadSuppliersMemoryBecame) {
  auto first = std::make_unique<Pages>("first");
  auto dead = std::make_unique<TypeParam>("dead", 64, 16384, first.get());
  void* const before = dead->Allocate(nullptr);
  first.reset();
  // Most likely the system gives the same addresses again.
  Pages second("second");
  TypeParam alive("alive", 64, 16384, &second);
  void* const element = alive.Allocate(nullptr);
  dead.reset();
  EXPECT_TRUE(alive.IsInSaneState()) << before << " " << element;
  alive.Free(element);
}

TYPED_TEST(ElementAllocators, RefuseSizesThatDoNotFit) {
  Pages pages("pages");
  for (const auto& [element, block] :
       {std::pair{0xFFFFFFFFU, 16384U}, {0xFFFF0000U, 16384U}, {8U, 0xFFFFFFFFU}})
    EXPECT_THROW(TypeParam("elements", element, block, &pages), std::bad_alloc) << element;
  TypeParam allocator("elements", 0, 0, &pages);
  EXPECT_NE(allocator.Allocate(nullptr), nullptr);
}

}  // namespace
}  // namespace du
