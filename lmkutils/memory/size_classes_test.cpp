#include "lmkutils/memory/internal/size_classes.h"

#include <gtest/gtest.h>

namespace du::internal {
namespace {

class SizeClasses : public testing::TestWithParam<Ladder> {};

TEST_P(SizeClasses, EverySizeFallsIntoTheClassThatJustHoldsIt) {
  const Ladder ladder = GetParam();
  for (unsigned size = 0; size <= kLargestClassSize; ++size) {
    const unsigned sizeClass = ClassOf(ladder, size);
    ASSERT_LT(sizeClass, ClassCount(ladder)) << size;
    ASSERT_EQ(ClassTableOf(ladder).ClassOf(size), sizeClass) << size;
    ASSERT_LE(size, LargestSize(ladder, sizeClass)) << size;
    const unsigned smallest = SmallestSize(ladder, sizeClass);
    // The four classes that share a rounded size also share a smallest size.
    ASSERT_GE(size == 0 ? 1 : size, smallest) << size;
  }
  EXPECT_EQ(ClassOf(ladder, kLargestClassSize + 1), kNoClass);
  EXPECT_EQ(ClassOf(ladder, 0xFFFFFFFFU), kNoClass);
}

// The borders of the ladder, step by step, as the table of the pool's documentation gives them.
TEST_P(SizeClasses, BordersStandWhereTheLadderHasThem) {
  struct Range {
    unsigned first, last;  // classes
    int factor, offset;    // largest size of class i is factor * i + offset
  };
  static constexpr Range kNormal[] = {{0, 31, 8, 8},          {32, 47, 16, -240},   {48, 63, 32, -992},
                                      {64, 79, 64, -3008},    {80, 95, 128, -8064}, {96, 111, 256, -20224},
                                      {112, 127, 512, -48640}};
  static constexpr Range kHigherSpeed[] = {
      {32, 55, 8, -184},       {56, 71, 16, -624},      {72, 87, 32, -1760},    {88, 103, 64, -4544},
      {104, 119, 128, -11136}, {120, 135, 256, -26368}, {136, 151, 512, -60928}};
  const Ladder ladder = GetParam();
  const auto& ranges = ladder == Ladder::kNormal ? kNormal : kHigherSpeed;
  for (const Range& range : ranges) {
    for (unsigned i = range.first; i <= range.last; ++i) {
      const auto largest = static_cast<unsigned>(range.factor * static_cast<int>(i) + range.offset);
      ASSERT_EQ(LargestSize(ladder, i), largest) << i;
      ASSERT_EQ(ClassOf(ladder, largest), i);
      if (largest < kLargestClassSize) {
        ASSERT_EQ(ClassOf(ladder, largest + 1), i + 1);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Ladders, SizeClasses, testing::Values(Ladder::kNormal, Ladder::kHigherSpeed),
                         [](const auto& param) {
                           return param.param == Ladder::kNormal ? "Normal" : "HigherSpeed";
                         });

TEST(SizeClassesHigherSpeed, FourClassesShareEachSmallSize) {
  for (unsigned i = 0; i < 32; ++i) EXPECT_EQ(LargestSize(Ladder::kHigherSpeed, i), i / 4 * 8 + 8);
  for (unsigned size = 1; size <= 64; ++size) EXPECT_EQ(ClassOf(Ladder::kHigherSpeed, size), (size - 1) / 2);
}

TEST(SizeClassLabels, NamePoolClassAndSizes) {
  EXPECT_EQ(ClassLabel(Ladder::kNormal, "P", 32), "P (  257 to   272)");
  EXPECT_EQ(ClassLabel(Ladder::kNormal, "P", 0), "P (    1 to     8)");
  EXPECT_EQ(ClassLabel(Ladder::kHigherSpeed, "P", 5), "P  5 (    9 to    16)");
  EXPECT_EQ(ClassLabel(Ladder::kHigherSpeed, nullptr, 2), "-  2 (    1 to     8)");
  EXPECT_EQ(ClassLabel(Ladder::kHigherSpeed, "P", 32), "P (   65 to    72)");
  EXPECT_EQ(ClassLabel(Ladder::kNormal, std::string(600, 'x').c_str(), 3), std::string(511, 'x'));
}

}  // namespace
}  // namespace du::internal
