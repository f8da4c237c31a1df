#include "lmkutils/text/internal/symbol_statistics.h"

#include <gtest/gtest.h>

namespace {

using du::internal::CountBuckets;
using du::internal::FormatStatistics;

const std::vector<std::string> kHead = {
    "BucketUsage details\n",
    "====================\n\n",
    "Elems in Bucket | Number of buckets | Elems in buckets of this size\n",
    "----------------|-------------------|------------------------------\n",
};

// Buckets of 0, 1, 2, 3, 3 entries: sizes 0, 0, 1, 2, 2.
TEST(SymbolStatistics, ReportsBucketsByTheirSteps) {
  std::vector<std::string> expected = {
      "du::Symbol statistics.\n",
      "=====================.\n",
      "Items   in table              9.\n",
      "Buckets in table              5.\n",
      "Average bucket usage       1.80.\n\n",
  };
  expected.insert(expected.end(), kHead.begin(), kHead.end());
  for (const char* line : {
           "              0 |                 2 |                             0\n",
           "              1 |                 1 |                             1\n",
           "              2 |                 2 |                             4\n",
           "Totals          |                 5 |                             5\n",
           "WeightedQueueSize is      1.80\n",  // (1 * 1 + 2 * 4) / 5
           "Absolute uniformity is    7.00\n",  // 1 + 2 * 3
           "Random Uniformity is     16.20\n",  // 9 / 10 * 18
           "Relative Uniformity is    2.31\n",
       }) {
    expected.push_back(line);
  }
  EXPECT_EQ(expected, FormatStatistics(CountBuckets(9, {0, 1, 2, 3, 3})));
}

TEST(SymbolStatistics, SingleEntriesCountAsSizeZeroAndQuotientsByZeroAreNotGuarded) {
  const auto lines = FormatStatistics(CountBuckets(2, {1, 0, 1}));
  ASSERT_EQ(15u, lines.size());
  EXPECT_EQ("              0 |                 3 |                             0\n", lines[9]);
  EXPECT_EQ("Totals          |                 3 |                             0\n", lines[10]);
  EXPECT_NE(std::string::npos, lines[11].find("nan")) << lines[11];
  EXPECT_EQ("Absolute uniformity is    0.00\n", lines[12]);
  EXPECT_NE(std::string::npos, lines[14].find("inf")) << lines[14];
}

}  // namespace
