#include "lmkutils/memory/common_allocator.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/testing/shortage.h"
#include "lmkutils/text/symbol.h"

namespace {

struct Plain : du::CommonAllocated {
  int value = 5;
};

struct Named : du::CommonAllocated {
  du::Symbol GetDebugClassName() const override { return "Named"; }
  char filler[100] = {};
};

struct alignas(64) Wide {
  char bytes[64];
};

struct WideObject : du::CommonAllocated {
  Wide wide;
};

template <class Base>
struct Thrower : Base {
  Thrower() { throw 7; }
};

bool IsOn(const void* block, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(block) % alignment == 0;
}

TEST(CommonAllocator, BlocksLieOnEightOrSixteenBytes) {
  for (unsigned size = 0; size < 200; ++size) {
    void* const block = du::CommonAllocatorImpl::Allocate(size, nullptr);
    EXPECT_TRUE(IsOn(block, size != 0 && size % 16 == 0 ? 16 : 8)) << size;
    std::memset(block, 0xAB, size);
    du::CommonAllocatorImpl::Deallocate(block, size);
  }
  du::CommonAllocatorImpl::Deallocate(nullptr, 16);
  EXPECT_EQ(0xFFFFFFFEu, GetLongevity(static_cast<du::CommonAllocatorImpl*>(nullptr)));
}

TEST(CommonAllocator, ServesContainersOfAnyAlignment) {
  std::vector<unsigned, du::CommonAllocator<unsigned>> numbers;
  for (unsigned i = 0; i < 1000; ++i) numbers.push_back(i);
  EXPECT_EQ(999u, numbers.back());
  std::vector<Wide, du::Allocator<Wide, du::CommonAllocatorImpl>> wides(3);
  EXPECT_TRUE(IsOn(wides.data(), 64));
  std::vector<long double, du::CommonAllocator<long double>> longs(3);
  EXPECT_TRUE(IsOn(longs.data(), alignof(long double)));
  EXPECT_TRUE(du::CommonAllocator<int>() == du::CommonAllocator<char>());
}

TEST(CommonAllocator, RefusesWhatDoesNotFitAndWhatTheHeapRefuses) {
  du::CommonAllocator<std::uint64_t> allocator;
  EXPECT_THROW((void)allocator.allocate(SIZE_MAX / 4), std::bad_alloc);  // the product wraps around
  EXPECT_THROW((void)allocator.allocate(0x20000000), std::bad_alloc);    // 4 GiB
  const lmktest::Shortage noMemory(lmktest::Memory::kCommonAllocator);
  EXPECT_THROW((void)allocator.allocate(1), std::bad_alloc);
  EXPECT_THROW((void)du::CommonAllocatorImpl::Allocate(64), std::bad_alloc);
  EXPECT_THROW((void)new Plain, std::bad_alloc);
  EXPECT_EQ(nullptr, new (std::nothrow) Plain);
}

TEST(CommonAllocated, MakesNamesAndDeletesObjects) {
  const std::unique_ptr<du::CommonAllocated> plain(new (std::nothrow) Plain);
  const std::unique_ptr<du::CommonAllocated> named(new Named);
  const std::unique_ptr<WideObject> wide(new WideObject);
  const std::unique_ptr<WideObject> alsoWide(new (std::nothrow) WideObject);
  EXPECT_TRUE(plain->GetDebugClassName() == "UknownObject");
  EXPECT_TRUE(named->GetDebugClassName() == "Named");
  EXPECT_TRUE(IsOn(wide.get(), 64));
  EXPECT_TRUE(IsOn(alsoWide.get(), 64));
  du::CommonAllocated* volatile nothing = nullptr;
  delete nothing;
  alignas(Plain) unsigned char storage[sizeof(Plain)];
  Plain* const placed = new (storage) Plain;
  EXPECT_EQ(static_cast<void*>(storage), placed);
  placed->~Plain();
}

// A leak checker sees what is not given back.
TEST(CommonAllocated, GivesTheBlockBackWhenAConstructorThrows) {
  EXPECT_THROW((void)new Thrower<Named>, int);
  EXPECT_THROW((void)new Thrower<WideObject>, int);
  EXPECT_THROW((void)new (std::nothrow) Thrower<WideObject>, int);
}

}  // namespace
