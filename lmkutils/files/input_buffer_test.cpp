#include "lmkutils/files/input_buffer.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/os/fault/fault.h"

namespace du {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<unsigned char>;

template <class T>
T First(const Bytes& bytes, int endian) {
  InputBuffer buffer(bytes, endian);
  T value{};
  EXPECT_TRUE(buffer.Get(value));
  EXPECT_EQ(buffer.GetPosition(), sizeof(T));
  return value;
}

TEST(InputBuffer, ReadsNumbersInItsByteOrder) {
  const Bytes bytes{0xF1, 2, 3, 4, 5, 6, 7, 0xF8};
  EXPECT_EQ(First<char>(bytes, 1), static_cast<char>(0xF1));
  EXPECT_EQ(First<unsigned char>(bytes, 0), 0xF1);
  EXPECT_EQ(First<short>(bytes, 0), 0x02F1);
  EXPECT_EQ(First<short>(bytes, 1), static_cast<short>(0xF102));
  EXPECT_EQ(First<unsigned short>(bytes, 1), 0xF102);
  EXPECT_EQ(First<int>(bytes, 0), 0x040302F1);
  EXPECT_EQ(First<int>(bytes, 1), static_cast<int>(0xF1020304));
  EXPECT_EQ(First<unsigned int>(bytes, 1), 0xF1020304);
  EXPECT_EQ(First<std::int64_t>(bytes, 1), static_cast<std::int64_t>(0xF1020304050607F8));
  EXPECT_EQ(First<std::uint64_t>(bytes, 0), 0xF8070605040302F1);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(First<float>(bytes, 1)), 0xF1020304u);
  EXPECT_EQ(First<double>({0x3F, 0xF8, 0, 0, 0, 0, 0, 0}, 1), 1.5);
  EXPECT_EQ(First<bool>(bytes, 0), true);
  EXPECT_EQ(First<bool>({0}, 0), false);
}

// Loaded into a register of the x87, they would come back quiet.
TEST(InputBuffer, KeepsTheBitsOfSignallingNaNs) {
  const Bytes bytes{0x7F, 0xA0, 0, 1, 0x7F, 0xF4, 0, 0, 0, 0, 0, 1};
  InputBuffer buffer(bytes, 1);
  float single[1];
  double twice = 0;
  std::uint64_t bits = 0;
  EXPECT_TRUE(buffer.Get(single, 1));
  EXPECT_TRUE(buffer.Get(twice));
  std::memcpy(&bits, &twice, sizeof(bits));
  EXPECT_EQ(bits, 0x7FF4000000000001u);
  std::uint32_t word = 0;
  std::memcpy(&word, single, sizeof(word));
  EXPECT_EQ(word, 0x7FA00001u);
}

TEST(InputBuffer, OnlyCodeOneIsBigEndian) {
  for (const int endian : {0, -1, 2, 256}) {
    const InputBuffer buffer(nullptr, 0, endian);
    EXPECT_TRUE(buffer.IsLittleEndian() && !buffer.IsBigEndian()) << endian;
  }
  EXPECT_TRUE(InputBuffer(nullptr, 0, 1).IsBigEndian());
}

TEST(InputBuffer, ReadsArraysWholeOrNotAtAll) {
  const Bytes bytes{1, 0, 2, 0, 3, 0, 4, 0, 5};
  InputBuffer buffer(bytes, 0);
  unsigned short values[5] = {9, 9, 9, 9, 9};
  EXPECT_FALSE(buffer.Get(values, 5));
  EXPECT_THAT(values, ElementsAre(9, 9, 9, 9, 9));
  EXPECT_EQ(buffer.GetPosition(), 0u);
  EXPECT_TRUE(buffer.Get(values, 4));
  EXPECT_THAT(values, ElementsAre(1, 2, 3, 4, 9));
  EXPECT_EQ(buffer.GetPosition(), 8u);
  EXPECT_FALSE(buffer.Get(values, 1));
  EXPECT_TRUE(buffer.Get(values, 0));

  InputBuffer swapped(bytes.data(), 8, 1);
  int ints[2];
  EXPECT_TRUE(swapped.Get(ints, 2));
  EXPECT_THAT(ints, ElementsAre(0x01000200, 0x03000400));
}

TEST(InputBuffer, CountsWhoseBytesWrapAreRefused) {
  InputBuffer buffer(Bytes(64), 0);
  EXPECT_TRUE(buffer.SetPosition(4));
  double target[1] = {1};
  for (const unsigned count : {0x20000000u, 0x20000001u, 0xFFFFFFFFu}) {
    EXPECT_FALSE(buffer.Get(target, count)) << count;
    EXPECT_FALSE(buffer.Get(reinterpret_cast<int*>(target), count)) << count;
  }
  EXPECT_EQ(target[0], 1);
  EXPECT_EQ(buffer.GetPosition(), 4u);
}

TEST(InputBuffer, ReadsSymbols) {
  InputBuffer little(Bytes{3, 0, 0, 0, 'a', 'b', 'c', 0, 0, 0, 0}, 0);
  Symbol symbol("before");
  EXPECT_TRUE(little.Get(symbol));
  EXPECT_EQ(symbol, "abc");
  EXPECT_TRUE(little.Get(symbol));
  EXPECT_TRUE(symbol.empty());
  EXPECT_EQ(little.GetPosition(), little.GetSize());

  InputBuffer big(Bytes{0, 0, 0, 4, 'a', 0, 'b', 'c', 7}, 1);
  EXPECT_TRUE(big.Get(symbol));
  EXPECT_EQ(symbol, "a");
  EXPECT_EQ(big.GetPosition(), 8u);
}

TEST(InputBuffer, SymbolsThatRunOutOfDataChangeNothing) {
  // Each behind two other bytes.
  const Bytes cases[] = {{9, 9},
                         {9, 9, 3, 0, 0},
                         {9, 9, 1, 0, 0, 0},
                         {9, 9, 3, 0, 0, 0, 'a', 'b'},
                         {9, 9, 0xFF, 0xFF, 0xFF, 0xFF, 'a'},
                         {9, 9, 0, 0, 0, 0x80, 'a'}};
  for (const Bytes& bytes : cases) {
    InputBuffer buffer(bytes, 0);
    EXPECT_TRUE(buffer.SetPosition(2));
    Symbol symbol("before");
    EXPECT_FALSE(buffer.Get(symbol)) << testing::PrintToString(bytes);
    EXPECT_EQ(symbol, "before");
    EXPECT_EQ(buffer.GetPosition(), 2u);
  }
}

TEST(InputBuffer, PositionsUpToTheSizeCanBeSet) {
  const Bytes bytes{1, 2, 3};
  InputBuffer buffer(bytes, 0);
  EXPECT_TRUE(buffer.SetPosition(3));
  char value = 'x';
  EXPECT_FALSE(buffer.Get(value));
  EXPECT_EQ(value, 'x');
  EXPECT_FALSE(buffer.SetPosition(4));
  EXPECT_FALSE(buffer.SetPosition(std::numeric_limits<unsigned>::max()));
  EXPECT_EQ(buffer.GetPosition(), 3u);
  EXPECT_TRUE(buffer.SetPosition(1));
  EXPECT_TRUE(buffer.Get(value));
  EXPECT_EQ(value, 2);
}

TEST(InputBuffer, KeepsACopyOfItsOwn) {
  Bytes bytes{1, 2};
  InputBuffer buffer(bytes, 0);
  bytes.assign(2, 9);
  char value = 0;
  EXPECT_TRUE(buffer.Get(value));
  EXPECT_EQ(value, 1);
}

TEST(InputBuffer, IsEmptyWithoutMemoryOrData) {
  const Bytes bytes{1, 2};
  const os::fault::Arming noMemory(os::fault::Call::kHeapAllocate, {.count = os::fault::kForEver});
  for (const unsigned char* data : {bytes.data(), static_cast<const unsigned char*>(nullptr)}) {
    InputBuffer buffer(data, 2, 0);
    EXPECT_EQ(buffer.GetSize(), 0u);
    char value = 0;
    EXPECT_FALSE(buffer.Get(value));
    EXPECT_FALSE(buffer.SetPosition(1));
    EXPECT_TRUE(buffer.Get(&value, 0));
  }
}

TEST(InputBuffer, RefusesArraysWithoutAPlace) {
  InputBuffer buffer(Bytes{1, 2, 3, 4}, 0);
  EXPECT_FALSE(buffer.Get(static_cast<char*>(nullptr), 1) || buffer.Get(static_cast<int*>(nullptr), 1));
  EXPECT_TRUE(buffer.Get(static_cast<int*>(nullptr), 0));
  EXPECT_EQ(buffer.GetPosition(), 0u);
}

}  // namespace
}  // namespace du
