#include "lmkutils/memory/internal/page_arena.h"

#include <cstring>
#include <map>

#include <gtest/gtest.h>

#include "lmkutils/memory/memory_map.h"
#include "lmkutils/testing/random.h"

namespace du::internal {
namespace {

using lmktest::Random;

std::size_t mappedBytes = 0;
std::size_t mappingsLeft = 1000;

void* CountingMap(void* hint, std::size_t size) noexcept {
  if (mappingsLeft == 0) return nullptr;
  --mappingsLeft;
  void* address = MemoryMap::MapNewMemory(hint, size);
  if (address != nullptr) mappedBytes += size;
  return address;
}

void CountingUnmap(void* address, std::size_t size) noexcept {
  mappedBytes -= size;
  MemoryMap::ReleaseMappedMemory(address, size);
}

PageRequests Requests(std::size_t unit) {
  return {.smallest = 1 << 20,
          .largest = 16 << 20,
          .growthDivisor = 32,
          .unit = unit,
          .map = &CountingMap,
          .unmap = &CountingUnmap};
}

class PageArenaTest : public testing::TestWithParam<std::size_t> {
 protected:
  PageArenaTest() { mappingsLeft = 1000; }
  ~PageArenaTest() override { EXPECT_EQ(mappedBytes, 0U); }
};

TEST_P(PageArenaTest, RandomOperationsKeepBlocksApartAndBooksTrue) {
  struct Live {
    std::size_t asked, size;
    unsigned char mark;
  };
  std::map<char*, Live> live;
  Random random(7);
  PageArena arena(Requests(GetParam()));
  std::size_t bytes = 0;
  for (int step = 0; step < 6000; ++step) {
    if (live.empty() || random() % 100 < 55) {
      const std::size_t size = random() % 8 == 0 ? 16384 * (1 + random() % 8) : 1 + random() % 40000;
      const PageArena::Block block = arena.Allocate(size);
      ASSERT_NE(block.address, nullptr);
      char* const address = static_cast<char*>(block.address);
      EXPECT_GE(block.size, size);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % 64, 0U);
      if (block.size % PageArena::kLargeAlignment == 0) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % PageArena::kLargeAlignment, 0U);
      }
      const auto after = live.lower_bound(address);
      ASSERT_TRUE(after == live.end() || address + block.size <= after->first);
      ASSERT_TRUE(after == live.begin() ||
                  std::prev(after)->first + std::prev(after)->second.size <= address);
      const auto mark = static_cast<unsigned char>(random());
      std::memset(address, mark, size);
      live[address] = {size, block.size, mark};
      bytes += block.size;
    } else {
      auto victim = std::next(live.begin(), static_cast<std::ptrdiff_t>(random() % live.size()));
      const auto& [address, block] = *victim;
      EXPECT_EQ(static_cast<unsigned char>(address[0]), block.mark);
      EXPECT_EQ(static_cast<unsigned char>(address[block.asked - 1]), block.mark);
      bytes -= block.size;
      arena.Free(address);
      live.erase(victim);
    }
    ASSERT_EQ(arena.BytesAllocated(), bytes);
    ASSERT_EQ(arena.BytesHeld(), mappedBytes);
    if (step % 64 == 0) {
      ASSERT_TRUE(arena.IsInSaneState());
    }
  }
  for (const auto& [address, block] : live) arena.Free(address);
  EXPECT_TRUE(arena.IsInSaneState());
  EXPECT_EQ(arena.BytesAllocated(), 0U);
  arena.Purge();
  EXPECT_EQ(mappedBytes, 0U);
}

TEST_P(PageArenaTest, ExhaustionIsAnsweredByNullAndOvercome) {
  PageArena arena(Requests(GetParam()));
  mappingsLeft = 0;
  EXPECT_EQ(arena.Allocate(100).address, nullptr);
  EXPECT_EQ(arena.BytesAllocated(), 0U);
  mappingsLeft = 100;
  const PageArena::Block block = arena.Allocate(3 << 20);  // larger than a mapping in advance
  ASSERT_NE(block.address, nullptr);
  mappingsLeft = 0;
  EXPECT_EQ(arena.Allocate(8 << 20).address, nullptr);
  arena.Free(block.address);
  EXPECT_TRUE(arena.IsInSaneState());
  EXPECT_EQ(arena.Allocate(~std::size_t{0}).address, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Units, PageArenaTest, testing::Values(0x2000, 0x400),
                         [](const auto& param) { return "Unit" + std::to_string(param.param); });

}  // namespace
}  // namespace du::internal
